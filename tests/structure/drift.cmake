# A field that moves fails the build, and is named.
# cmake -D SOURCE=.. -D SCRATCH=.. -D CXX=.. -D INCLUDES=.. -P drift.cmake
file(REMOVE_RECURSE ${SCRATCH})
file(READ ${SOURCE}/driver/tarn_fgsseries.h header)
configure_file(${SOURCE}/driver/layout.cpp ${SCRATCH}/layout.cpp COPYONLY)
list(TRANSFORM INCLUDES PREPEND -I)

# compile(<header text>): sets failed and message.
function(compile text)
  file(WRITE ${SCRATCH}/tarn_fgsseries.h "${text}")
  execute_process(COMMAND ${CXX} -std=c++17 -fPIC -fsyntax-only ${INCLUDES} ${SCRATCH}/layout.cpp
    RESULT_VARIABLE failed ERROR_VARIABLE message)
  set(failed ${failed} PARENT_SCOPE)
  set(message "${message}" PARENT_SCOPE)
endfunction()

compile("${header}")
if(failed)
  message(FATAL_ERROR "the header as it stands does not compile: ${message}")
endif()

# swap(<field> <field> <what the message must say>)
function(swap first second expected)
  string(REPLACE "int ${first}" "int SWAPPED" text "${header}")
  string(REPLACE "int ${second}" "int ${first}" text "${text}")
  string(REPLACE "int SWAPPED" "int ${second}" text "${text}")
  compile("${text}")
  if(NOT failed OR NOT message MATCHES "${expected}")
    message(FATAL_ERROR "${first} and ${second} changed places; said was: ${message}")
  endif()
endfunction()

swap("hostType = 0" "hostAddr = 0" "RW_VAR::hostType moved")
swap("replyLen = 0" "dataStart = 0" "Protocol::replyLen moved")
swap("station = 0" "areaType = 0" "(RW_VAR|EXTENDVAR)::station moved")
swap("blockWords;" "reserved5;" "COMINFO::blockWords moved")
swap("retryLimit;" "retryCount;" "COMINFO::retryLimit moved")
