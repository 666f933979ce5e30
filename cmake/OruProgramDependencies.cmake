# What the programs link and the library does not.

find_package(PkgConfig REQUIRED)
pkg_check_modules(libsystemd REQUIRED IMPORTED_TARGET libsystemd)
find_package(nlohmann_json 3.11 CONFIG REQUIRED)
find_package(CLI11 2.1 CONFIG REQUIRED)
