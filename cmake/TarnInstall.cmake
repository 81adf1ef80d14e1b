# Install rules, the CMake package TarnFGs and the pkg-config file.

include(CMakePackageConfigHelpers)

install(TARGETS TarnFGs EXPORT TarnFGsTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development
  PUBLIC_HEADER DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)
install(EXPORT TarnFGsTargets NAMESPACE TarnFGs:: COMPONENT development
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/TarnFGs)

set(TARN_QT_PACKAGE "Qt${TARN_QT} COMPONENTS Core")
if(TARN_QT EQUAL 4)
  set(TARN_QT_PACKAGE "Qt4 4.8 COMPONENTS QtCore")
endif()
configure_package_config_file(cmake/TarnFGsConfig.cmake.in ${CMAKE_BINARY_DIR}/TarnFGsConfig.cmake
  INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/TarnFGs)
write_basic_package_version_file(${CMAKE_BINARY_DIR}/TarnFGsConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/TarnFGsConfig.cmake ${CMAKE_BINARY_DIR}/TarnFGsConfigVersion.cmake
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/TarnFGs COMPONENT development)

set(TARN_QT_PC Qt${TARN_QT}Core)
if(TARN_QT EQUAL 4)
  set(TARN_QT_PC QtCore)
endif()
configure_file(cmake/TarnFGs.pc.in ${CMAKE_BINARY_DIR}/TarnFGs.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/TarnFGs.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)

if(NOT TARGET fgs OR NOT TARGET fgs-sim)
  return()
endif()
install(TARGETS fgs fgs-sim RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tools)

# The dissector, where every Wireshark looks for Lua: a plugin folder that has no version in its name.
install(FILES share/wireshark/fgs.lua DESTINATION ${CMAKE_INSTALL_LIBDIR}/wireshark/plugins COMPONENT tools)

# What completes the command line of fgs, made by it where it runs, where Debian's shells look for it.
if(NOT CMAKE_CROSSCOMPILING AND NOT TARN_SANITIZE)
  foreach(shell bash zsh)
    set(script ${CMAKE_BINARY_DIR}/packaging/fgs.${shell})
    add_custom_command(OUTPUT ${script} COMMAND fgs --completion ${shell} > ${script} DEPENDS fgs VERBATIM)
    list(APPEND TARN_COMPLETIONS ${script})
  endforeach()
  add_custom_target(completions ALL DEPENDS ${TARN_COMPLETIONS})
  install(FILES ${CMAKE_BINARY_DIR}/packaging/fgs.bash DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions
    RENAME fgs COMPONENT tools)
  install(FILES ${CMAKE_BINARY_DIR}/packaging/fgs.zsh DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions
    RENAME _fgs COMPONENT tools)
endif()

# The gateway, its service, and examples beside its documentation.
set(TARN_UNIT_DIR lib/systemd/system CACHE STRING "Where systemd's units go; a package has /lib/systemd/system")
if(TARGET fgs-gateway)
  install(TARGETS fgs-gateway RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT gateway)
  install(FILES packaging/gateway/fgs-gateway@.service DESTINATION ${TARN_UNIT_DIR} COMPONENT gateway)
  install(FILES packaging/gateway/README packaging/gateway/60-fgs-gateway.rules packaging/gateway/password.conf
      docs/gateway.toml
    DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/tarnfgs-gateway/examples COMPONENT gateway)
  install(FILES docs/gateway.md docs/night.md docs/plant.md docs/tags.md
    DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/tarnfgs-gateway COMPONENT gateway)
endif()

# Man pages, whose options come from the programs' own help: where the programs run.
find_program(TARN_PERL perl)
if(TARN_SANITIZE OR NOT TARN_PERL OR (CMAKE_CROSSCOMPILING AND NOT CMAKE_CROSSCOMPILING_EMULATOR))
  return()
endif()
string(TIMESTAMP TARN_DATE "%Y-%m-%d" UTC)
set(TARN_DOCUMENTED fgs fgs-sim)
if(TARGET fgs-gateway)
  list(APPEND TARN_DOCUMENTED fgs-gateway)
endif()
foreach(program ${TARN_DOCUMENTED})
  set(page ${CMAKE_BINARY_DIR}/packaging/${program}.1)
  configure_file(packaging/${program}.1.in ${page}.in @ONLY)
  add_custom_command(OUTPUT ${page}.gz
    COMMAND ${TARN_PERL} ${CMAKE_CURRENT_SOURCE_DIR}/packaging/manpage ${page}.in ${CMAKE_CROSSCOMPILING_EMULATOR}
      $<TARGET_FILE:${program}> > ${page}
    COMMAND gzip -9nf ${page}
    DEPENDS ${program} ${page}.in packaging/manpage VERBATIM)
  list(APPEND TARN_MAN_PAGES ${page}.gz)
  set(component tools)
  if(program STREQUAL fgs-gateway)
    set(component gateway)
  endif()
  install(FILES ${page}.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT ${component})
endforeach()
if(TARGET fgs-gateway)
  set(page ${CMAKE_BINARY_DIR}/packaging/fgs-gateway.toml.5)
  set(source ${CMAKE_CURRENT_SOURCE_DIR}/docs/gateway.md)
  configure_file(packaging/fgs-gateway.toml.5.in ${page}.in @ONLY)
  add_custom_command(OUTPUT ${page}.gz
    COMMAND ${TARN_PERL} ${CMAKE_CURRENT_SOURCE_DIR}/packaging/settings-manpage ${source} ${page}.in > ${page}
    COMMAND gzip -9nf ${page}
    DEPENDS ${source} ${page}.in packaging/settings-manpage VERBATIM)
  list(APPEND TARN_MAN_PAGES ${page}.gz)
  install(FILES ${page}.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man5 COMPONENT gateway)
endif()
add_custom_target(man ALL DEPENDS ${TARN_MAN_PAGES})
