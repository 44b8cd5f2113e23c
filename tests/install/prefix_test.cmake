# Installs the build into an empty prefix and builds a host against it, with CMake and with
# pkg-config, in the oldest standard and the newest, and once more after the prefix has moved.

include(${CMAKE_CURRENT_LIST_DIR}/Installation.cmake)

set(prefix ${WORK_DIR}/prefix)
file(REMOVE_RECURSE ${WORK_DIR})

run(${CMAKE_COMMAND} --install ${BUILD_DIR} --config ${CONFIG} --prefix ${prefix})
string(TOLOWER ${CONFIG} CONFIG)
set(components runtime development licence)
if(HOST)
  list(APPEND components service)
endif()
if(STREAM)
  list(APPEND components stream)
endif()
expected_files(files ${components})
expect_files(${prefix} ${files})

if(HOST)
  run(${prefix}/bin/qiv --version)
  expect_equal("version of the program" "${run_output}" "${VERSION}\n")
endif()

foreach(standard IN ITEMS 11 23)
  build_consumers_with_cmake(${WORK_DIR}/cmake-${standard} ${prefix} ${standard})
  expect_consumers_work(${WORK_DIR}/cmake-${standard} "")
endforeach()
foreach(standard IN ITEMS 11 2b)
  build_consumers_with_pkg_config(${WORK_DIR}/pkg-config-${standard} ${prefix} ${standard})
  expect_consumers_work(${WORK_DIR}/pkg-config-${standard} "")
endforeach()

set(moved ${WORK_DIR}/somewhere/else)
file(MAKE_DIRECTORY ${WORK_DIR}/somewhere)
file(RENAME ${prefix} ${moved})
build_consumers_with_cmake(${WORK_DIR}/cmake-moved ${moved} 11)
expect_consumers_work(${WORK_DIR}/cmake-moved "")
build_consumers_with_pkg_config(${WORK_DIR}/pkg-config-moved ${moved} 11)
expect_consumers_work(${WORK_DIR}/pkg-config-moved "")
if(HOST)
  run(${moved}/bin/qiv --version)
endif()
