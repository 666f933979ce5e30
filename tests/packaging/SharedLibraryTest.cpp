// What a program sees that loads the shared library at run time. ORU_LIBRARY, ORU_NM and ORU_READELF
// name the library and the tools.

#include <cxxabi.h>
#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <regex>
#include <string>
#include <vector>

namespace {

using ::testing::Contains;
using ::testing::IsEmpty;
using ::testing::Not;

std::vector<std::string> linesOf(std::string const& command) {
  std::vector<std::string> lines;
  std::FILE* const pipe = popen(command.c_str(), "r");
  if (!pipe) return lines;
  char buffer[16384];
  while (std::fgets(buffer, sizeof buffer, pipe)) {
    lines.emplace_back(buffer);
    while (!lines.back().empty() && lines.back().back() == '\n') lines.back().pop_back();
  }
  EXPECT_EQ(pclose(pipe), 0) << command;
  return lines;
}

// Mangled names of what the library defines and exports.
std::vector<std::string> exportedNames() {
  auto names = linesOf(ORU_NM " -D --defined-only --format=just-symbols '" ORU_LIBRARY "'");
  EXPECT_THAT(names, Not(IsEmpty()));
  return names;
}

std::string demangled(std::string const& name) {
  int status = 0;
  std::unique_ptr<char, decltype(&std::free)> const text(
      abi::__cxa_demangle(name.c_str(), nullptr, nullptr, &status), &std::free);
  return status == 0 ? text.get() : name;
}

std::vector<std::string> exportedMatching(std::regex const& pattern) {
  std::vector<std::string> matches;
  for (auto const& name : exportedNames()) {
    if (std::regex_search(name, pattern)) matches.push_back(demangled(name));
  }
  return matches;
}

struct Library {
  Library() : handle(dlopen(ORU_LIBRARY, RTLD_NOW | RTLD_LOCAL)) {}
  ~Library() {
    if (handle) dlclose(handle);
  }
  Library(Library const&) = delete;
  Library& operator=(Library const&) = delete;
  void* const handle;
};

TEST(SharedLibrary, LoadsByItsSoname) {
  Library const library;
  EXPECT_NE(library.handle, nullptr) << dlerror();
}

TEST(SharedLibrary, ExportsOnlyNamesOfItsOwnNamespaces) {
  std::regex const own(
      "^_Z(T[VTIS]|GV|GR|Th?n?[0-9]*_|Tv[0-9_n]*)?N?[VK]*"
      "(3Oru|4Kesh|5Kordo|5Lanko|5Vunda|6Duolog|7Ringlog)");
  std::vector<std::string> foreign;
  for (auto const& name : exportedNames()) {
    if (!std::regex_search(name, own)) foreign.push_back(name + " = " + demangled(name));
  }
  EXPECT_THAT(foreign, IsEmpty());
}

TEST(SharedLibrary, ExportsNothingOfTheFormattingLibrary) {
  EXPECT_THAT(exportedMatching(std::regex("(^|[^0-9])3fmt[0-9]")), IsEmpty());
}

TEST(SharedLibrary, NeedsOnlyTheCompilersOwnLibraries) {
  std::regex const needed("\\(NEEDED\\).*\\[(.*)\\]");
  std::regex const own("^(libstdc\\+\\+|libgcc_s|libm|libc|ld-linux.*)\\.so\\.");
  std::vector<std::string> foreign;
  std::size_t count = 0;
  for (auto const& line : linesOf(ORU_READELF " -d '" ORU_LIBRARY "'")) {
    std::smatch match;
    if (!std::regex_search(line, match, needed)) continue;
    ++count;
    if (!std::regex_search(match[1].str(), own)) foreign.push_back(match[1]);
  }
  EXPECT_GT(count, 0U);
  EXPECT_THAT(foreign, IsEmpty());
}

}  // namespace
