// What a program sees that loads the shared library at run time. ORU_LIBRARY, ORU_NM and ORU_READELF
// name the library and the tools.

#include <cxxabi.h>
#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <regex>
#include <string>
#include <vector>

namespace {

using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;

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

// What may stand before the outermost namespace in a mangled name: virtual tables, type information,
// thunks and guards, what is local to a function, qualifiers.
std::string const manglingStart = "^_Z(T[VTIS]|GV|GR|Th?n?[0-9]*_|Tv[0-9_n]*)?Z*N?[VK]*";

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

TEST(SharedLibrary, ExportsTheFactories) {
  Library const library;
  ASSERT_NE(library.handle, nullptr) << dlerror();
  std::map<std::string, int> const argumentsOf{{"Oru::Central::centralSmFactory(", 11},
                                               {"Oru::Central::featureCollectionFactory(", 0}};
  for (auto const& [start, arguments] : argumentsOf) {
    std::vector<std::string> found;
    for (auto const& name : exportedNames()) {
      if (demangled(name).starts_with(start)) found.push_back(name);
    }
    ASSERT_THAT(found, SizeIs(1)) << start;
    EXPECT_NE(dlsym(library.handle, found[0].c_str()), nullptr) << dlerror();
    auto const text = demangled(found[0]);
    auto const commas = std::count(text.begin(), text.end(), ',');
    EXPECT_EQ(text.ends_with("()") ? 0 : commas + 1, arguments) << text;
  }
}

TEST(SharedLibrary, ExportsOnlyNamesOfItsOwnNamespaces) {
  std::regex const own(manglingStart +
                       "(3Oru|9OruHelper|4Kesh|5Kordo|5Lanko|5Vunda|6Duolog|7Ringlog)");
  std::vector<std::string> foreign;
  for (auto const& name : exportedNames()) {
    if (!std::regex_search(name, own)) foreign.push_back(name + " = " + demangled(name));
  }
  EXPECT_THAT(foreign, IsEmpty());
}

TEST(SharedLibrary, ExportsNothingOfTheFormattingLibrary) {
  EXPECT_THAT(exportedMatching(std::regex(manglingStart + "3fmt")), IsEmpty());
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
