# The service file: as exposed as at most 20 of 100, and without a fault where its program is installed.
#   cmake -D UNIT=FILE -D ANALYZE=systemd-analyze -D PROGRAM=fgs-gateway -D SCRATCH=FOLDER -P unit.cmake
execute_process(COMMAND ${ANALYZE} security --offline=true --threshold=20 ${UNIT}
  RESULT_VARIABLE failure OUTPUT_VARIABLE report ERROR_VARIABLE report)
if(failure)
  message(FATAL_ERROR "too exposed:\n${report}")
endif()

# As an instance with a password, with the program of the build; man pages are those of the package.
get_filename_component(folder ${UNIT} DIRECTORY)
file(COPY ${folder}/password.conf DESTINATION ${SCRATCH}/fgs-gateway@press7.service.d)
file(READ ${UNIT} unit)
string(REPLACE "/usr/bin/fgs-gateway" "${PROGRAM}" unit "${unit}")
string(REGEX REPLACE "Documentation=[^\n]*\n" "" unit "${unit}")
file(WRITE ${SCRATCH}/fgs-gateway@.service "${unit}")
file(WRITE ${SCRATCH}/fgs-gateway@press7.service "${unit}")
execute_process(COMMAND ${ANALYZE} verify ${SCRATCH}/fgs-gateway@press7.service
  RESULT_VARIABLE failure OUTPUT_VARIABLE report ERROR_VARIABLE report)
if(failure OR report MATCHES "(fgs-gateway@|password)[^\n]*(Unknown|Failed|nvalid|gnoring)")
  message(FATAL_ERROR "systemd-analyze verify:\n${report}")
endif()
