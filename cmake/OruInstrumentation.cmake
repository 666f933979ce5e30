# Sanitizers, coverage and fuzzing instrument every target of this project alike.

if(ORU_CENTRAL_SANITIZE)
  add_compile_options(-fsanitize=${ORU_CENTRAL_SANITIZE} -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${ORU_CENTRAL_SANITIZE})
  if(ORU_CENTRAL_SANITIZE MATCHES "undefined")
    add_compile_options(-fno-sanitize-recover=undefined)
  endif()
endif()

if(ORU_CENTRAL_COVERAGE)
  add_compile_options(--coverage)
  add_link_options(--coverage)
endif()

if(ORU_CENTRAL_BUILD_FUZZERS)
  if(NOT CMAKE_CXX_COMPILER_ID MATCHES "Clang")
    message(FATAL_ERROR "ORU_CENTRAL_BUILD_FUZZERS needs Clang, not ${CMAKE_CXX_COMPILER_ID}")
  endif()
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()
