# cmake -DCOMPILER=<c++> -DLIBRARY_FLAGS="..." -DTEST_FLAGS="..." -DSOURCE_DIR=<root of the project>
#       -DGTEST="<libraries>" -DWORK_DIR=<dir> -P BuildAndRun.cmake
#
# Compiles the two libraries with the compiler and the flags, and the bits test and that of every set
# of instructions with flags of their own; runs the tests.

separate_arguments(library_flags UNIX_COMMAND "${LIBRARY_FLAGS}")
separate_arguments(test_flags UNIX_COMMAND "${TEST_FLAGS}")
separate_arguments(gtest UNIX_COMMAND "${GTEST}")
set(includes -I${SOURCE_DIR}/qiv_algo/impl/include -I${SOURCE_DIR}/qiv_g11n/impl/include)
set(sources ${SOURCE_DIR}/qiv_g11n/impl/src/RQLogger.cc)
foreach(name IN ITEMS AllJourneys BusRoute Forecast ForecastAlgorithm History Journey
                      KernelRegression MilestoneWalk Vehicle lanes lanes_avx2 lanes_avx512
                      lanes_portable lanes_sse2 remembered_memory)
  list(APPEND sources ${SOURCE_DIR}/qiv_algo/impl/src/${name}.cc)
endforeach()

function(run)
  execute_process(COMMAND ${ARGV} WORKING_DIRECTORY ${WORK_DIR} RESULT_VARIABLE result)
  if(NOT result EQUAL 0)
    string(REPLACE ";" " " command "${ARGV}")
    message(FATAL_ERROR "Failed (${result}): ${command}")
  endif()
endfunction()

file(REMOVE_RECURSE ${WORK_DIR})
file(MAKE_DIRECTORY ${WORK_DIR})
run(${COMPILER} -std=c++14 ${library_flags} ${includes} -c ${sources})
file(GLOB objects ${WORK_DIR}/*.o)
run(${COMPILER} -std=c++17 ${test_flags} ${includes} -I${SOURCE_DIR}/tests
    -I${SOURCE_DIR}/qiv_algo/impl/src ${SOURCE_DIR}/tests/bits/bits_test.cc
    ${SOURCE_DIR}/tests/qiv_algo/lanes_test.cc ${objects} ${gtest} -lpthread -o bits_test)
run(${WORK_DIR}/bits_test --gtest_brief=1)
