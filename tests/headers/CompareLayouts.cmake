# cmake -DPROGRAMS="<program> <program>..." -P CompareLayouts.cmake
#
# Every program ends with success, and all print the same.

separate_arguments(programs UNIX_COMMAND "${PROGRAMS}")
set(reference "")
foreach(program IN LISTS programs)
  execute_process(COMMAND ${program} RESULT_VARIABLE result OUTPUT_VARIABLE output)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "${program} ended with ${result}:\n${output}")
  endif()
  if(NOT reference)
    set(reference "${output}")
    message("${output}")
  elseif(NOT output STREQUAL reference)
    message(FATAL_ERROR "${program} printed another layout:\n${output}")
  endif()
endforeach()
