# The targets of this project and the functions with which the folders fill them.

# Warnings wanted of every target of this project, and of no target of a consumer.
add_library(oru-warnings INTERFACE)
target_compile_options(
  oru-warnings INTERFACE -Wall -Wextra -Wpedantic -Wconversion -Wshadow
                         $<$<BOOL:${ORU_CENTRAL_WERROR}>:-Werror>)

# What every compiled target of this project has in common.
function(oru_configure_target target)
  target_compile_features(${target} PUBLIC cxx_std_20)
  target_link_libraries(${target} PRIVATE $<BUILD_INTERFACE:oru-warnings>)
  set_target_properties(
    ${target}
    PROPERTIES CXX_EXTENSIONS OFF
               CXX_VISIBILITY_PRESET hidden
               VISIBILITY_INLINES_HIDDEN ON)
endfunction()

# Formatting is used in sources only: no header, no consumer and no exported symbol depends on it.
function(oru_use_fmt target)
  target_link_libraries(${target} PRIVATE $<BUILD_INTERFACE:fmt::fmt-header-only>)
endfunction()

# A misspelt keyword is an error, not something left out in silence.
function(oru_refuse_arguments function target arguments)
  if(arguments)
    message(FATAL_ERROR "${function}(${target}): unexpected ${arguments}")
  endif()
endfunction()

# oru_add_libraries(): declares both libraries; the folders add their sources to them.
#   oru-runtime (Oru::Runtime)   the entity runtime alone, a static library
#   oru-central (Oru::Central)   the whole library, the runtime included
# A program links one of the two, never both.
function(oru_add_libraries)
  add_library(oru-runtime STATIC)
  add_library(oru-central)
  add_library(Oru::Runtime ALIAS oru-runtime)
  add_library(Oru::Central ALIAS oru-central)

  foreach(target IN ITEMS oru-runtime oru-central)
    oru_configure_target(${target})
    oru_use_fmt(${target})
    target_include_directories(
      ${target} PUBLIC $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}>
                       $<INSTALL_INTERFACE:${ORU_CENTRAL_INCLUDEDIR}>)
    target_compile_options(${target} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-fno-semantic-interposition>)
    set_target_properties(${target} PROPERTIES POSITION_INDEPENDENT_CODE ON LINKER_LANGUAGE CXX)
  endforeach()

  # Before 1.0 a minor version may break what is linked with the library.
  set(soversion ${PROJECT_VERSION_MAJOR})
  if(PROJECT_VERSION_MAJOR EQUAL 0)
    set(soversion 0.${PROJECT_VERSION_MINOR})
  endif()

  target_sources(oru-central PRIVATE $<TARGET_OBJECTS:oru-runtime>)
  set_target_properties(oru-runtime PROPERTIES EXPORT_NAME Runtime)
  set_target_properties(
    oru-central
    PROPERTIES EXPORT_NAME Central
               VERSION ${PROJECT_VERSION}
               SOVERSION ${soversion})

  if(BUILD_SHARED_LIBS)
    set(script "${PROJECT_SOURCE_DIR}/cmake/oru-central.map")
    target_link_options(oru-central PRIVATE LINKER:--version-script=${script})
    set_target_properties(oru-central PROPERTIES LINK_DEPENDS "${script}")
    # Calls within the library go straight to their function; nobody replaces one from outside.
    target_link_options(oru-central PRIVATE LINKER:-Bsymbolic-functions)
    if(NOT ORU_CENTRAL_SANITIZE)
      target_link_options(oru-central PRIVATE LINKER:--no-undefined)
    endif()
  endif()
endfunction()

# oru_add_sources(<target> [HEADERS <file>...] [SOURCES <file>...])
# Adds the files of the current folder. HEADERS are public: they are installed.
function(oru_add_sources target)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "HEADERS;SOURCES")
  oru_refuse_arguments(oru_add_sources ${target} "${arg_UNPARSED_ARGUMENTS}")
  if(arg_SOURCES)
    target_sources(${target} PRIVATE ${arg_SOURCES})
  endif()
  if(arg_HEADERS)
    target_sources(
      ${target} PUBLIC FILE_SET HEADERS BASE_DIRS "${PROJECT_SOURCE_DIR}" FILES ${arg_HEADERS})
  endif()
endfunction()

# oru_add_component(<name> SOURCES <file>... [LIBS <target>...])
# A static library inside this project, for a floor above the library (mount, ...).
function(oru_add_component name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;LIBS")
  oru_refuse_arguments(oru_add_component ${name} "${arg_UNPARSED_ARGUMENTS}")
  add_library(${name} STATIC ${arg_SOURCES})
  oru_configure_target(${name})
  target_link_libraries(${name} PUBLIC Oru::Central ${arg_LIBS})
endfunction()

# oru_add_program(<name> [NO_LIBRARY] SOURCES <file>... [LIBS <target>...])
# An installed program above the library; with NO_LIBRARY one that needs nothing of it.
function(oru_add_program name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "NO_LIBRARY" "" "SOURCES;LIBS")
  oru_refuse_arguments(oru_add_program ${name} "${arg_UNPARSED_ARGUMENTS}")
  add_executable(${name} ${arg_SOURCES})
  oru_configure_target(${name})
  if(NOT arg_NO_LIBRARY)
    target_link_libraries(${name} PRIVATE Oru::Central)
  endif()
  target_link_libraries(${name} PRIVATE ${arg_LIBS})
  file(RELATIVE_PATH from_bin_to_lib "/${CMAKE_INSTALL_BINDIR}" "/${CMAKE_INSTALL_LIBDIR}")
  set_target_properties(
    ${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/bin"
                       INSTALL_RPATH "$ORIGIN/${from_bin_to_lib}")
  if(ORU_CENTRAL_INSTALL)
    install(TARGETS ${name} RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT programs)
  endif()
endfunction()

# oru_precompile(<name> HEADERS <header>... [LIBS <target>...])
# A set of headers of others, and those of the standard library that most sources take. It is parsed
# once for all targets that take it with `target_precompile_headers(<target> REUSE_FROM <name>)`. They
# are compiled with the same options as the set. The presets with Clang do without: they show that each
# source names what it uses.
function(oru_precompile name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "HEADERS;LIBS")
  oru_refuse_arguments(oru_precompile ${name} "${arg_UNPARSED_ARGUMENTS}")
  set(empty "${CMAKE_CURRENT_BINARY_DIR}/${name}.cpp")
  file(CONFIGURE OUTPUT "${empty}" CONTENT "")
  add_library(${name} OBJECT "${empty}")
  oru_configure_target(${name})
  target_link_libraries(${name} PRIVATE ${arg_LIBS})
  target_precompile_headers(
    ${name} PRIVATE ${arg_HEADERS} <functional> <map> <memory> <optional> <set> <string> <vector>)
endfunction()

# oru_add_subdirectories(<folder>...): those of the folders that are part of this tree.
macro(oru_add_subdirectories)
  foreach(oru_folder IN ITEMS ${ARGV})
    if(EXISTS "${CMAKE_CURRENT_SOURCE_DIR}/${oru_folder}/CMakeLists.txt")
      add_subdirectory(${oru_folder})
    endif()
  endforeach()
endmacro()
