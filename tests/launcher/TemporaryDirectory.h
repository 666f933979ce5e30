#pragma once

#include <stdlib.h>

#include <cerrno>
#include <filesystem>
#include <string>
#include <system_error>

namespace Oru::Launcher::TestTools {

// A folder for one test; goes with everything in it.
class TemporaryDirectory {
 public:
  TemporaryDirectory() {
    std::string pattern = std::filesystem::temp_directory_path() / "oru-launcher-test-XXXXXX";
    if (mkdtemp(pattern.data()) == nullptr) {
      throw std::system_error(errno, std::generic_category(), pattern);
    }
    path_ = pattern;
  }
  TemporaryDirectory(TemporaryDirectory const&) = delete;
  TemporaryDirectory& operator=(TemporaryDirectory const&) = delete;
  ~TemporaryDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }

  std::filesystem::path const& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

}  // namespace Oru::Launcher::TestTools
