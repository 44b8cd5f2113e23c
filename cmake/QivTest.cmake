# How tests are made: GoogleTest executables whose cases ctest knows one by one.

include(GoogleTest)
find_package(GTest 1.12 REQUIRED)

# qiv_add_test(<name> SOURCES <files> [LIBS <targets>] [STANDARD <n>] [ENVIRONMENT <VAR=value>...])
function(qiv_add_test name)
  cmake_parse_arguments(PARSE_ARGV 1 ARG "" "STANDARD" "SOURCES;LIBS;ENVIRONMENT")
  if(NOT ARG_STANDARD)
    set(ARG_STANDARD 17)
  endif()
  add_executable(${name} ${ARG_SOURCES})
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
  target_link_libraries(${name} PRIVATE ${ARG_LIBS} GTest::gmock GTest::gtest_main qiv_warnings
                                        qiv_sanitizers)
  set_target_properties(${name} PROPERTIES CXX_STANDARD ${ARG_STANDARD} CXX_STANDARD_REQUIRED ON
                                           CXX_EXTENSIONS OFF)
  set(environment ${ARG_ENVIRONMENT}
                  "LSAN_OPTIONS=suppressions=${PROJECT_SOURCE_DIR}/tests/deliberate_leaks.supp")
  gtest_discover_tests(${name} TEST_PREFIX "${name}." DISCOVERY_TIMEOUT 120 PROPERTIES ENVIRONMENT "${environment}")
endfunction()
