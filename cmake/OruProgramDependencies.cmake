# What the programs link and the library does not.

find_package(PkgConfig REQUIRED)
pkg_check_modules(libsystemd REQUIRED IMPORTED_TARGET libsystemd)
find_package(nlohmann_json 3.11 CONFIG REQUIRED)
find_package(CLI11 2.1 CONFIG REQUIRED)

# What oru_favour_compile_time gives to its targets.
oru_precompile(
  oru-program-headers
  HEADERS
  <nlohmann/json.hpp>
  LIBS
  nlohmann_json::nlohmann_json)
target_compile_options(oru-program-headers PRIVATE $<$<CONFIG:RelWithDebInfo>:-O1>)

# oru_favour_compile_time(<target>)
# For much code that is in no hurry: it compiles in half the time.
function(oru_favour_compile_time target)
  target_compile_options(${target} PRIVATE $<$<CONFIG:RelWithDebInfo>:-O1>)
  target_precompile_headers(${target} REUSE_FROM oru-program-headers)
endfunction()
