# cmake -DCOMPILER=<c++> -DSTANDARD=<c++11...> -DINCLUDE_DIRS="..." -DHEADERS="..." -DWORK_DIR=<dir>
#       -P CompileHeaders.cmake
#
# Every header compiles alone, and a second time in the same unit, without a warning. Reports all
# that do not.

separate_arguments(include_dirs UNIX_COMMAND "${INCLUDE_DIRS}")
separate_arguments(headers UNIX_COMMAND "${HEADERS}")
list(TRANSFORM include_dirs PREPEND -I)
file(MAKE_DIRECTORY ${WORK_DIR})

set(failures "")
foreach(header IN LISTS headers)
  set(unit ${WORK_DIR}/${header}.cc)
  file(WRITE ${unit} "#include \"${header}\"\n#include \"${header}\"\n")
  execute_process(
    COMMAND ${COMPILER} -std=${STANDARD} -fsyntax-only -Wall -Wextra -Wpedantic -Werror
            ${include_dirs} ${unit}
    RESULT_VARIABLE result
    ERROR_VARIABLE error)
  if(NOT result EQUAL 0)
    string(APPEND failures "${header} as ${STANDARD}:\n${error}\n")
  endif()
endforeach()
if(failures)
  message(FATAL_ERROR "${failures}")
endif()
