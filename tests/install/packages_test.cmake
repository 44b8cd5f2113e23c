# Makes the two packages from the shipped build, looks into them as dpkg would, unpacks them into an
# empty folder and builds a host against that. Nothing is installed.

include(${CMAKE_CURRENT_LIST_DIR}/Installation.cmake)

set(CONFIG release)
file(REMOVE_RECURSE ${WORK_DIR})
set(build_dir ${WORK_DIR}/build)
set(root ${WORK_DIR}/root)

function(build_packages)
  run(${CMAKE_COMMAND} -S ${SOURCE_DIR} -B ${build_dir} -G ${GENERATOR}
      -DCMAKE_CXX_COMPILER=${CXX} -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX=/usr
      -DQIV_BUILD_TESTS=OFF -DQIV_BUILD_EXAMPLES=OFF -DQIV_BUILD_HOST=OFF)
  run(${CMAKE_COMMAND} --build ${build_dir} --parallel 2)
  run(${CMAKE_CPACK_COMMAND} -G DEB --config ${build_dir}/CPackConfig.cmake -B ${WORK_DIR})
endfunction()

function(expect_field package field pattern)
  run(dpkg-deb --field ${WORK_DIR}/${package}_${VERSION}_${architecture}.deb ${field})
  string(STRIP "${run_output}" value)
  expect_match("${field} of ${package}" "${value}" "^${pattern}$")
endfunction()

# Every member belongs to root and can be written by nobody else; no program is among them.
function(expect_sound_members package)
  run(dpkg-deb --contents ${WORK_DIR}/${package}_${VERSION}_${architecture}.deb)
  string(STRIP "${run_output}" members)
  string(REPLACE "\n" ";" members "${members}")
  foreach(member IN LISTS members)
    expect_match("member of ${package}" "${member}"
                 "^(drwxr-xr-x|-rw-r--r--|lrwxrwxrwx) root/root +[0-9]+ .* \\./usr/")
  endforeach()
endfunction()

# unpack(<package> <component>): exactly the component's files and the licence come out of it.
function(unpack package component)
  set(archive ${WORK_DIR}/${package}_${VERSION}_${architecture}.deb)
  set(dir ${WORK_DIR}/${package})
  run(dpkg-deb -x ${archive} ${dir})
  run(dpkg-deb -x ${archive} ${root})
  run(dpkg-deb --control ${archive} ${dir}.control)
  expected_files(files ${component})
  expect_files(${dir}/usr ${files} share/doc/${package}/copyright)
  run(${CMAKE_COMMAND} -E compare_files ${SOURCE_DIR}/LICENSE
      ${dir}/usr/share/doc/${package}/copyright)
endfunction()

# A shared library that is stripped and asks for no folder of its own.
function(expect_shippable library)
  run(readelf --dynamic --sections --wide ${root}/usr/${LIBDIR}/${library}.so.1)
  if(run_output MATCHES "R(UN)?PATH|\\.symtab|\\.debug_")
    message(FATAL_ERROR "${library} is not fit to be shipped, for its ${CMAKE_MATCH_0}")
  endif()
  expect_match("${library}" "${run_output}" "SONAME[^\n]*\\[${library}\\.so\\.1\\]")
endfunction()

run(dpkg --print-architecture)
string(STRIP "${run_output}" architecture)
build_packages()
file(STRINGS ${build_dir}/CMakeCache.txt LIBDIR REGEX "^CMAKE_INSTALL_LIBDIR:")
string(REGEX REPLACE ".*=" "" LIBDIR "${LIBDIR}")
unpack(libqiv1 runtime)
unpack(libqiv-dev development)

foreach(package IN ITEMS libqiv1 libqiv-dev)
  expect_field(${package} Package ${package})
  expect_field(${package} Version "${VERSION}")
  expect_field(${package} Architecture ${architecture})
  expect_field(${package} Installed-Size "[1-9][0-9]*")
  expect_field(${package} Maintainer "[^<]+ <[^>]+@[^>]+>")
  expect_field(${package} Description "arrival forecasts [^\n]+\n [A-Z].*")
  expect_sound_members(${package})
endforeach()
expect_field(libqiv1 Section libs)
expect_field(libqiv-dev Section libdevel)
set(some "\\(>= [^)]+\\)")
expect_field(libqiv1 Depends "libc6 ${some}, libgcc-s1 ${some}, libstdc\\+\\+6 ${some}")
expect_field(libqiv-dev Depends "libqiv1 \\(= ${VERSION}\\)")

file(READ ${WORK_DIR}/libqiv1.control/shlibs shlibs)
expect_equal("shlibs" "${shlibs}" "libqiv_algo 1 libqiv1 (>= ${VERSION})
libqiv_g11n 1 libqiv1 (>= ${VERSION})
")
foreach(script IN ITEMS postinst postrm)
  file(READ ${WORK_DIR}/libqiv1.control/${script} text)
  expect_match("${script}" "${text}" "\n\tldconfig\n")
endforeach()

expect_shippable(libqiv_algo)
expect_shippable(libqiv_g11n)

build_consumers_with_cmake(${WORK_DIR}/cmake ${root}/usr 11)
expect_consumers_work(${WORK_DIR}/cmake ${root}/usr/${LIBDIR})
build_consumers_with_pkg_config(${WORK_DIR}/pkg-config ${root}/usr 2b)
expect_consumers_work(${WORK_DIR}/pkg-config ${root}/usr/${LIBDIR})
