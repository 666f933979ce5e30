# oru_add_every_header(<target> <include-folder>)
# A program that includes each installed header a hosting agent may need, and finds no fmt: a header
# that needs one that is not installed, or fmt, fails to compile.
#
# Only authors of state machines, who format trace messages, need fmt, and only for these:
set(oru_headers_with_fmt runtime/kesh/Trace.h runtime/vunda/Fmtrace.h runtime/vunda/Format.h)

function(oru_add_every_header target folder)
  file(GLOB_RECURSE headers RELATIVE "${folder}" CONFIGURE_DEPENDS "${folder}/*.h")
  list(REMOVE_ITEM headers ${oru_headers_with_fmt})
  if(NOT headers)
    message(FATAL_ERROR "There are no headers in ${folder}")
  endif()
  set(text "")
  foreach(header IN LISTS headers)
    string(APPEND text "#include \"${header}\"\n")
  endforeach()
  string(APPEND text "int main() {}\n")
  file(GENERATE OUTPUT "${CMAKE_CURRENT_BINARY_DIR}/${target}.cpp" CONTENT "${text}")
  add_executable(${target} "${CMAKE_CURRENT_BINARY_DIR}/${target}.cpp")
  target_include_directories(${target} BEFORE PRIVATE "${CMAKE_CURRENT_FUNCTION_LIST_DIR}/no-fmt")
endfunction()
