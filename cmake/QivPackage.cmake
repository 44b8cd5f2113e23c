# Installation, and the packages made from it: libqiv1 to run with, libqiv-dev to build with, and qiv,
# the program with its service.

include(CMakePackageConfigHelpers)

set(config_dir ${CMAKE_INSTALL_LIBDIR}/cmake/qiv)
get_property(public_headers GLOBAL PROPERTY QIV_PUBLIC_HEADERS)

# Outside the system's own folders the libraries find each other wherever the prefix is moved to.
if(NOT CMAKE_INSTALL_PREFIX STREQUAL "/usr")
  set_target_properties(qiv_algo PROPERTIES INSTALL_RPATH $ORIGIN)
endif()

install(
  TARGETS qiv_g11n qiv_algo
  EXPORT qiv_targets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
          COMPONENT runtime
          NAMELINK_COMPONENT development)
install(FILES ${public_headers} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/qiv COMPONENT development)
install(
  EXPORT qiv_targets
  FILE qivTargets.cmake
  NAMESPACE qiv::
  DESTINATION ${config_dir}
  COMPONENT development)

configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/qivConfig.cmake.in qivConfig.cmake
                              INSTALL_DESTINATION ${config_dir})
write_basic_package_version_file(qivConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(
  FILES ${CMAKE_CURRENT_BINARY_DIR}/qivConfig.cmake
        ${CMAKE_CURRENT_BINARY_DIR}/qivConfigVersion.cmake
  DESTINATION ${config_dir}
  COMPONENT development)

cmake_path(RELATIVE_PATH CMAKE_INSTALL_PREFIX BASE_DIRECTORY ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig
           OUTPUT_VARIABLE pc_prefix)
cmake_path(APPEND pc_libdir "\${prefix}" ${CMAKE_INSTALL_LIBDIR})
cmake_path(APPEND pc_includedir "\${prefix}" ${CMAKE_INSTALL_INCLUDEDIR})
configure_file(${PROJECT_SOURCE_DIR}/cmake/qiv.pc.in qiv.pc @ONLY)
install(
  FILES ${CMAKE_CURRENT_BINARY_DIR}/qiv.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
  COMPONENT development)

install(
  FILES ${PROJECT_SOURCE_DIR}/LICENSE
  DESTINATION ${CMAKE_INSTALL_DOCDIR}
  COMPONENT licence)

if(QIV_BUILD_HOST)
  if(NOT CMAKE_INSTALL_PREFIX STREQUAL "/usr")
    set_target_properties(qiv PROPERTIES INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")
  endif()
  install(TARGETS qiv RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT service)
  install(
    FILES ${PROJECT_SOURCE_DIR}/packaging/qiv@.service
    DESTINATION lib/systemd/system
    COMPONENT service)
  install(
    FILES ${PROJECT_SOURCE_DIR}/docs/operations.md
    DESTINATION ${CMAKE_INSTALL_DOCDIR}
    COMPONENT service)
  if(QIV_WITH_KAFKA)
    set(stream ${PROJECT_SOURCE_DIR}/packaging/stream)
    install(
      FILES ${stream}/qiv-bridge@.service ${stream}/qiv-worker@.service
            ${stream}/qiv-gateway@.service
      DESTINATION lib/systemd/system
      COMPONENT service)
    install(
      FILES ${PROJECT_SOURCE_DIR}/docs/stream.md
      DESTINATION ${CMAKE_INSTALL_DOCDIR}
      COMPONENT service)
    install(
      FILES ${stream}/compose.yaml
      DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples
      COMPONENT service)
  endif()
endif()

if(NOT PROJECT_IS_TOP_LEVEL)
  return()
endif()

set(runtime_package libqiv${PROJECT_VERSION_MAJOR})
set(development_package libqiv-dev)
set(service_package qiv)
set(package_components runtime development)
if(QIV_BUILD_HOST)
  list(APPEND package_components service)
endif()

# Debian wants the licence of every package under this name, in the package's own folder.
foreach(component IN LISTS package_components)
  install(
    FILES ${PROJECT_SOURCE_DIR}/LICENSE
    DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/doc/${${component}_package}
    RENAME copyright
    COMPONENT ${component}_copyright
    EXCLUDE_FROM_ALL)
  string(TOUPPER ${component} COMPONENT)
  set(CPACK_COMPONENT_${COMPONENT}_GROUP ${component})
  set(CPACK_COMPONENT_${COMPONENT}_COPYRIGHT_GROUP ${component})
  list(APPEND CPACK_COMPONENTS_ALL ${component} ${component}_copyright)
endforeach()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME qiv)
set(CPACK_PACKAGE_VENDOR qiv)
set(CPACK_PACKAGE_CONTACT "The qiv developers <qiv@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")  # each package has its own
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_GROUPING ONE_PER_GROUP)
set(CPACK_DEB_COMPONENT_INSTALL ON)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME ${runtime_package})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_CURRENT_BINARY_DIR}/qiv_g11n
                                                ${CMAKE_CURRENT_BINARY_DIR}/qiv_algo)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY >=)
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION "arrival forecasts with bounds - shared libraries
Forecasts when public-transport vehicles arrive, with bounds, by kernel
regression over the times of earlier trips. A host loads the library and
calls it with reference data and vehicle reports; the message module
beside it takes the log.")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME ${development_package})
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${runtime_package} (= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION "arrival forecasts with bounds - headers and build files
What a host is built with: the headers of the forecasting library and of
its message module, a package configuration for CMake (qiv::algo,
qiv::g11n) and one for pkg-config (qiv).")
set(CPACK_DEBIAN_SERVICE_PACKAGE_NAME ${service_package})
set(CPACK_DEBIAN_SERVICE_PACKAGE_SECTION net)
set(CPACK_DEBIAN_SERVICE_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_SERVICE_PACKAGE_DEPENDS
    "${runtime_package} (= ${PROJECT_VERSION}), adduser, ca-certificates, tzdata")
# The guide makes its backup with it.
set(CPACK_DEBIAN_SERVICE_PACKAGE_RECOMMENDS sqlite3)
set(CPACK_DEBIAN_SERVICE_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/packaging/debian/postinst
                                               ${PROJECT_SOURCE_DIR}/packaging/debian/prerm)
set(CPACK_DEBIAN_SERVICE_DESCRIPTION "arrival forecasts with bounds - the live service
A timetable and vehicle positions go in; predictions with bounds come out
as GTFS-realtime, SIRI and JSON, with a page that shows them. Learns from
the vehicles' own past; replays and scores recorded days.")
include(CPack)
