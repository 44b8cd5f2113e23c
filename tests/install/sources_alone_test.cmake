# Compiles every source of both libraries into one program with the example, with nothing but the
# two include directories, and compares what it prints.

include(${CMAKE_CURRENT_LIST_DIR}/Installation.cmake)

file(GLOB sources ${SOURCE_DIR}/qiv_algo/impl/src/*.cc ${SOURCE_DIR}/qiv_g11n/impl/src/*.cc)
set(example ${SOURCE_DIR}/examples/arrival_forecast)
file(MAKE_DIRECTORY ${WORK_DIR})

set(program ${WORK_DIR}/arrival_forecast-${STANDARD})
run(${CXX} -std=c++${STANDARD} -Wall -Wextra -Wpedantic -Werror
    -I${SOURCE_DIR}/qiv_algo/impl/include -I${SOURCE_DIR}/qiv_g11n/impl/include ${sources}
    ${example}/main.cc -o ${program})
run(${CMAKE_COMMAND} -E env LC_ALL=C ${program})
file(READ ${example}/expected.txt expected)
expect_equal("output of ${program}" "${run_output}" "${expected}")
