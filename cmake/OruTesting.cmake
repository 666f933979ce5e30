# How tests are declared. The programs run under ctest, one ctest entry per test.

include(GoogleTest)
find_package(GTest 1.12 CONFIG REQUIRED)
find_package(rapidcheck CONFIG REQUIRED)

# Builds only what `ctest -L threads` runs.
add_custom_target(tests-threads)

# oru_add_test(<name> [NO_LIBRARY] SOURCES <file>... [LIBS <target>...] [LABEL <label>]
#              [TIMEOUT <seconds>])
# One test program, linked with the library (unless NO_LIBRARY), GoogleTest, GoogleMock and
# RapidCheck. Label `threads` marks what the thread sanitizer runs. One label, because the discovery
# of tests loses all but the first.
function(oru_add_test name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "NO_LIBRARY" "LABEL;TIMEOUT" "SOURCES;LIBS")
  oru_refuse_arguments(oru_add_test ${name} "${arg_UNPARSED_ARGUMENTS}")
  if(NOT arg_TIMEOUT)
    set(arg_TIMEOUT 120)
  endif()
  add_executable(${name} ${arg_SOURCES})
  oru_configure_target(${name})
  if(NOT arg_NO_LIBRARY)
    target_link_libraries(${name} PRIVATE Oru::Central)
  endif()
  target_link_libraries(
    ${name} PRIVATE ${arg_LIBS} GTest::gtest_main GTest::gmock rapidcheck_gtest)
  target_precompile_headers(${name} REUSE_FROM oru-test-headers)
  if(arg_LABEL STREQUAL "threads")
    add_dependencies(tests-threads ${name})
  endif()
  # Discovery when ctest starts: a build does not run what it builds, and a sanitizer's complaint
  # while the tests are listed is a failed test, not a failed build.
  gtest_discover_tests(
    ${name}
    DISCOVERY_MODE PRE_TEST
    DISCOVERY_TIMEOUT 60
    PROPERTIES TIMEOUT ${arg_TIMEOUT} LABELS "${arg_LABEL}")
endfunction()
