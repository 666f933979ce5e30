# Builds every fuzzer and nothing that none of them needs.
add_custom_target(fuzzers)

# oru_add_fuzzer(<name> SOURCES <file>... [LIBS <target>...])
# A libFuzzer program. A corpus to start from may lie beside its sources, in corpus/<name>/.
function(oru_add_fuzzer name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;LIBS")
  oru_refuse_arguments(oru_add_fuzzer ${name} "${arg_UNPARSED_ARGUMENTS}")
  add_executable(${name} ${arg_SOURCES})
  oru_configure_target(${name})
  target_link_libraries(${name} PRIVATE Oru::Central ${arg_LIBS})
  target_link_options(${name} PRIVATE -fsanitize=fuzzer)
  add_dependencies(fuzzers ${name})
endfunction()
