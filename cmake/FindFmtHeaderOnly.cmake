# Finds fmt for header-only use and defines fmt::fmt-header-only.
#
# The system's own package serves when it is new enough; otherwise the headers that scripts/setup
# brought into build/deps/fmt. FmtHeaderOnly_INCLUDE_DIR names another folder that holds fmt/core.h.

if(NOT TARGET fmt::fmt-header-only)
  find_package(fmt ${FmtHeaderOnly_FIND_VERSION} CONFIG QUIET)
endif()

if(TARGET fmt::fmt-header-only)
  set(FmtHeaderOnly_VERSION "${fmt_VERSION}")
  get_target_property(FmtHeaderOnly_TARGET_INCLUDES fmt::fmt-header-only
                      INTERFACE_INCLUDE_DIRECTORIES)
  include(FindPackageHandleStandardArgs)
  find_package_handle_standard_args(FmtHeaderOnly REQUIRED_VARS FmtHeaderOnly_TARGET_INCLUDES)
  return()
endif()

find_path(
  FmtHeaderOnly_INCLUDE_DIR fmt/core.h
  PATHS "${CMAKE_CURRENT_LIST_DIR}/../build/deps/fmt/include"
  NO_DEFAULT_PATH)
mark_as_advanced(FmtHeaderOnly_INCLUDE_DIR)

if(FmtHeaderOnly_INCLUDE_DIR)
  file(STRINGS "${FmtHeaderOnly_INCLUDE_DIR}/fmt/core.h" fmt_version_line
       REGEX "^#define FMT_VERSION [0-9]+$" LIMIT_COUNT 1)
  string(REGEX REPLACE "[^0-9]" "" fmt_version_number "${fmt_version_line}")
  math(EXPR fmt_major "${fmt_version_number} / 10000")
  math(EXPR fmt_minor "${fmt_version_number} / 100 % 100")
  math(EXPR fmt_patch "${fmt_version_number} % 100")
  set(FmtHeaderOnly_VERSION "${fmt_major}.${fmt_minor}.${fmt_patch}")
endif()

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(
  FmtHeaderOnly
  REQUIRED_VARS FmtHeaderOnly_INCLUDE_DIR
  VERSION_VAR FmtHeaderOnly_VERSION
  REASON_FAILURE_MESSAGE "run scripts/setup, which brings it")

if(FmtHeaderOnly_FOUND)
  add_library(fmt::fmt-header-only INTERFACE IMPORTED)
  target_include_directories(fmt::fmt-header-only INTERFACE "${FmtHeaderOnly_INCLUDE_DIR}")
  target_compile_definitions(fmt::fmt-header-only INTERFACE FMT_HEADER_ONLY=1)
endif()
