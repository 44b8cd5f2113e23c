# Makes the package of the service from this build, looks into it as dpkg would, and has systemd judge
# its unit, where it is there. Nothing is installed.

include(${CMAKE_CURRENT_LIST_DIR}/Installation.cmake)

run(dpkg --print-architecture)
string(STRIP "${run_output}" architecture)
set(archive ${WORK_DIR}/qiv_${VERSION}_${architecture}.deb)
set(root ${WORK_DIR}/root)
file(REMOVE_RECURSE ${WORK_DIR})

run(${CMAKE_CPACK_COMMAND} -G DEB -C ${CONFIG} --config ${BUILD_DIR}/CPackConfig.cmake -B ${WORK_DIR}
    -D "CPACK_COMPONENTS_ALL=service\\;service_copyright")
run(dpkg-deb -x ${archive} ${root})
run(dpkg-deb --control ${archive} ${WORK_DIR}/control)
expected_files(files service)
list(APPEND files share/doc/qiv/copyright)
expect_files(${root}/usr ${files})

run(dpkg-deb --field ${archive} Depends)
expect_match("Depends" "${run_output}" "libqiv1 \\(= ${VERSION}\\), adduser")
expect_match("Depends" "${run_output}" "libsqlite3-0")
expect_match("Depends" "${run_output}" "libmicrohttpd12")
foreach(script IN ITEMS postinst prerm)
  run(sh -n ${WORK_DIR}/control/${script})
endforeach()
run(dpkg-deb --contents ${archive})
expect_match("the program" "${run_output}" "-rwxr-xr-x root/root +[0-9]+ [^\n]* \\./usr/bin/qiv\n")
run(readelf --sections --wide ${root}/usr/bin/qiv)
if(run_output MATCHES "\\.symtab|\\.debug_")
  message(FATAL_ERROR "the program is not stripped: ${CMAKE_MATCH_0}")
endif()

find_program(analyze systemd-analyze)
if(analyze)
  # The unit as it is, but for the program's place, which is not that of an installation here.
  file(READ ${root}/usr/lib/systemd/system/qiv@.service unit)
  string(REPLACE "/usr/bin/qiv" "${root}/usr/bin/qiv" unit "${unit}")
  file(WRITE ${WORK_DIR}/qiv@test.service "${unit}")
  run(${analyze} verify --man=no ${WORK_DIR}/qiv@test.service)
  run(${analyze} security --offline=true --threshold=20 ${WORK_DIR}/qiv@test.service)
endif()
