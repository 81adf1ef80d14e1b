# A file that calls one above it fails the check of the order, and both are named.
# cmake -D SOURCE=.. -D BINARY=.. -D SCRATCH=.. -D CXX=.. -D NM=.. -D INCLUDES=.. -P upward.cmake
file(REMOVE_RECURSE ${SCRATCH})
file(COPY ${BINARY}/CMakeFiles/TarnFGs.dir DESTINATION ${SCRATCH}/CMakeFiles)
list(TRANSFORM INCLUDES PREPEND -I)
set(ENV{NM} ${NM})

# expect(<the check's result> <what it must say>)
function(expect result said)
  execute_process(COMMAND ${SOURCE}/scripts/structure --check ${SCRATCH}
    RESULT_VARIABLE failed OUTPUT_VARIABLE output ERROR_VARIABLE error)
  if((result AND failed) OR (NOT result AND NOT failed) OR NOT output MATCHES "${said}")
    message(FATAL_ERROR "expected was '${said}', said was: ${output}${error}")
  endif()
endfunction()

expect(TRUE "")

file(READ ${SOURCE}/driver/Func_Check.cpp text)
file(WRITE ${SCRATCH}/Func_Check.cpp "${text}\nProtocol *upward() { return ComCommunication(); }\n")
execute_process(COMMAND ${CXX} -std=c++17 -fPIC -I${SOURCE}/driver ${INCLUDES} -c ${SCRATCH}/Func_Check.cpp
    -o ${SCRATCH}/CMakeFiles/TarnFGs.dir/driver/Func_Check.cpp.o
  RESULT_VARIABLE failed ERROR_VARIABLE message)
if(failed)
  message(FATAL_ERROR "the scratch change does not compile: ${message}")
endif()
expect(FALSE "driver/Func_Check.cpp calls ComCommunication of driver/scheduler.cpp, which stands above it")
