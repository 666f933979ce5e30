# Options of the build, and the defaults that only hold when this project is the top-level one.

option(BUILD_SHARED_LIBS "Build liboru-central as a shared library" ${PROJECT_IS_TOP_LEVEL})
option(ORU_CENTRAL_BUILD_TESTS "Build the tests" ${PROJECT_IS_TOP_LEVEL})
option(ORU_CENTRAL_BUILD_PROGRAMS "Build the programs around the library" ${PROJECT_IS_TOP_LEVEL})
option(ORU_CENTRAL_BUILD_EXAMPLES "Build the examples" ${PROJECT_IS_TOP_LEVEL})
option(ORU_CENTRAL_BUILD_BENCH "Build the benchmarks" OFF)
option(ORU_CENTRAL_BUILD_FUZZERS "Build the fuzzers (needs Clang)" OFF)
option(ORU_CENTRAL_INSTALL "Generate the install rules" ${PROJECT_IS_TOP_LEVEL})
option(ORU_CENTRAL_WERROR "Turn warnings into errors" OFF)
option(ORU_CENTRAL_COVERAGE "Record the coverage of tests" OFF)
set(ORU_CENTRAL_SANITIZE "" CACHE STRING "Sanitizers, e.g. address,undefined or thread")

if(PROJECT_IS_TOP_LEVEL)
  if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
    set(CMAKE_BUILD_TYPE RelWithDebInfo CACHE STRING "Build type" FORCE)
  endif()
  set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

  find_program(ORU_CENTRAL_CCACHE ccache)
  mark_as_advanced(ORU_CENTRAL_CCACHE)
  if(ORU_CENTRAL_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
    set(CMAKE_CXX_COMPILER_LAUNCHER "${ORU_CENTRAL_CCACHE}")
  endif()
endif()

include(GNUInstallDirs)
set(ORU_CENTRAL_INCLUDEDIR "${CMAKE_INSTALL_INCLUDEDIR}/oru-central")
