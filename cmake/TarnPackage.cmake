# Debian packages, one a component: libtarnfgs1, libtarnfgs-dev, tarnfgs-tools, tarnfgs-gateway. ./package drives it.

set(runtime libtarnfgs${PROJECT_VERSION_MAJOR})
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME tarnfgs)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "The TarnFGs authors <maintainers@example.org>")
set(CPACK_PACKAGE_DIRECTORY ${CMAKE_BINARY_DIR}/packages)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
if(CMAKE_SYSTEM_PROCESSOR STREQUAL arm)
  set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE armhf)
endif()

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME ${runtime})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA
  ${CMAKE_BINARY_DIR}/packaging/symbols ${CMAKE_CURRENT_SOURCE_DIR}/packaging/triggers)
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION "An operator-panel runtime loads this library to exchange data with
controllers over a link that it operates itself.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libtarnfgs-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${runtime} (= ${PROJECT_VERSION}), qtbase5-dev")
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION "Development files: the header, the CMake package and the pkg-config
file.")

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME tarnfgs-tools)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "${runtime} (= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_TOOLS_DESCRIPTION "Tools: fgs reads, writes and polls a controller; fgs-sim plays one;
Wireshark shows what they record.")
set(CPACK_DEBIAN_TOOLS_PACKAGE_SUGGESTS wireshark)

set(CPACK_DEBIAN_GATEWAY_PACKAGE_NAME tarnfgs-gateway)
set(CPACK_DEBIAN_GATEWAY_PACKAGE_SECTION net)
set(CPACK_DEBIAN_GATEWAY_PACKAGE_DEPENDS "${runtime} (= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_GATEWAY_DESCRIPTION "Gateway to a broker: fgs-gateway publishes the values of a line by MQTT, as
JSON or Sparkplug B, and writes what it is told to and may.")
set(CPACK_DEBIAN_GATEWAY_PACKAGE_SUGGESTS "tarnfgs-tools, mosquitto")
set(CPACK_DEBIAN_GATEWAY_PACKAGE_CONTROL_EXTRA
  ${CMAKE_CURRENT_SOURCE_DIR}/packaging/gateway/postinst ${CMAKE_CURRENT_SOURCE_DIR}/packaging/gateway/prerm
  ${CMAKE_CURRENT_SOURCE_DIR}/packaging/gateway/postrm)

# The libraries of the target are not those of a machine that only cross-compiles.
if(NOT CMAKE_CROSSCOMPILING)
  set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
  set(CPACK_DEBIAN_TOOLS_PACKAGE_SHLIBDEPS ON)
  set(CPACK_DEBIAN_GATEWAY_PACKAGE_SHLIBDEPS ON)
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_BINARY_DIR})
else()
  set(CPACK_DEBIAN_RUNTIME_PACKAGE_DEPENDS
    "libc6 (>= 2.4), libgcc-s1 (>= 3.5), libqt5core5a (>= 5.15.1), libstdc++6 (>= 11)")
  string(APPEND CPACK_DEBIAN_GATEWAY_PACKAGE_DEPENDS ", libc6 (>= 2.34), libgcc-s1 (>= 3.5), libgnutls30 (>= 3.7.0), "
    "libmicrohttpd12 (>= 0.9.75), libmosquitto1 (>= 2.0.11), libprometheus-cpp-core1.0 (>= 1.0.1), "
    "libqt5core5a (>= 5.15.1), libqt5serialport5 (>= 5.15.0), libsqlite3-0 (>= 3.40.0), libstdc++6 (>= 12)")
endif()

string(TIMESTAMP TARN_CHANGED "%a, %d %b %Y %H:%M:%S +0000" UTC)
configure_file(packaging/changelog.in ${CMAKE_BINARY_DIR}/packaging/changelog @ONLY)
execute_process(COMMAND gzip -9nkf ${CMAKE_BINARY_DIR}/packaging/changelog)
function(tarn_package_documents component package)
  install(FILES packaging/copyright ${CMAKE_BINARY_DIR}/packaging/changelog.gz
    DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${package} COMPONENT ${component})
endfunction()
tarn_package_documents(runtime ${runtime})
tarn_package_documents(development libtarnfgs-dev)
install(FILES packaging/lintian-overrides
  DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides RENAME ${runtime} COMPONENT runtime)

set(CPACK_COMPONENTS_ALL runtime development)
if(TARGET fgs AND TARGET fgs-sim AND NOT CMAKE_CROSSCOMPILING)
  list(APPEND CPACK_COMPONENTS_ALL tools)
  tarn_package_documents(tools tarnfgs-tools)
endif()
if(TARGET fgs-gateway)
  list(APPEND CPACK_COMPONENTS_ALL gateway)
  tarn_package_documents(gateway tarnfgs-gateway)
endif()

include(CPack)
