#pragma once

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>

namespace OruTest {

// A new folder that goes with the object.
class TemporaryFolder {
 public:
  TemporaryFolder() {
    std::string path = (std::filesystem::temp_directory_path() / "oru-test-XXXXXX").string();
    if (mkdtemp(path.data()) == nullptr) throw std::runtime_error("cannot make " + path);
    path_ = path;
  }
  ~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TemporaryFolder(TemporaryFolder const&) = delete;
  TemporaryFolder& operator=(TemporaryFolder const&) = delete;

  std::filesystem::path const& path() const noexcept { return path_; }
  std::string operator/(std::string const& name) const { return (path_ / name).string(); }

 private:
  std::filesystem::path path_;
};

}  // namespace OruTest
