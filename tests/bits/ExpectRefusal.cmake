# cmake -DCOMPILER=<c++> -DFLAGS="..." -DSOURCE_DIR=<root of the project> -DSOURCES="<names>"
#       -P ExpectRefusal.cmake
#
# Succeeds when every named source of the library refuses to be compiled with the flags, by its own
# #error, and compiles without them.

separate_arguments(flags UNIX_COMMAND "${FLAGS}")
separate_arguments(names UNIX_COMMAND "${SOURCES}")
set(compile ${COMPILER} -std=c++14 -fsyntax-only -I${SOURCE_DIR}/qiv_algo/impl/include
            -I${SOURCE_DIR}/qiv_g11n/impl/include)
foreach(name IN LISTS names)
  set(source ${SOURCE_DIR}/qiv_algo/impl/src/${name}.cc)
  execute_process(COMMAND ${compile} ${source} RESULT_VARIABLE result)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "${name}.cc does not compile without flags")
  endif()
  execute_process(
    COMMAND ${compile} ${flags} ${source}
    RESULT_VARIABLE result
    ERROR_VARIABLE error
    OUTPUT_QUIET)
  if(result EQUAL 0 OR NOT error MATCHES "#error \"?Results must be exact|error: \"?Results must be exact")
    message(FATAL_ERROR "${name}.cc was not refused with ${FLAGS} (${result}):\n${error}")
  endif()
endforeach()
