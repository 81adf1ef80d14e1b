# cmake -D SOURCE=.. -D BUILD=.. -D CXX=.. -D GENERATOR=.. -D SANITIZE=.. -D CROSS=.. -P install_and_use.cmake
if(SANITIZE)
  message("skipped: a consumer without the sanitizer's runtime cannot load this library")
  return()
endif()
if(CROSS)
  message("skipped: a cross compiler's consumer needs the panel's root; ./package --test does it natively")
  return()
endif()

set(work ${BUILD}/tests/installed)
file(REMOVE_RECURSE ${work})
file(MAKE_DIRECTORY ${work}/consumer)

function(run)
  execute_process(COMMAND ${ARGV} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
  if(result)
    message(FATAL_ERROR "${ARGV}\n${output}")
  endif()
  set(output "${output}" PARENT_SCOPE)
endfunction()

# The example is the README's one C++ block.
file(READ ${SOURCE}/README.md readme)
string(REGEX MATCH "```cpp\n([^`]*)```" block "${readme}")
if(NOT block)
  message(FATAL_ERROR "README.md shows no C++ host")
endif()
file(WRITE ${work}/consumer/main.cpp "${CMAKE_MATCH_1}")
configure_file(${SOURCE}/tests/package/consumer.cmake ${work}/consumer/CMakeLists.txt COPYONLY)

run(${CMAKE_COMMAND} --install ${BUILD} --prefix ${work}/prefix)
run(${CMAKE_COMMAND} -S ${work}/consumer -B ${work}/consumer/build -G ${GENERATOR}
    -D CMAKE_PREFIX_PATH=${work}/prefix -D CMAKE_CXX_COMPILER=${CXX})
run(${CMAKE_COMMAND} --build ${work}/consumer/build)
run(${work}/consumer/build/consumer)
if(NOT output MATCHES "value: 4660")
  message(FATAL_ERROR "the README's host printed: ${output}")
endif()

# The same with pkg-config, where it is installed.
find_program(PKG_CONFIG pkg-config)
if(PKG_CONFIG)
  file(GLOB_RECURSE pc ${work}/prefix/*TarnFGs.pc)
  get_filename_component(pcdir ${pc} DIRECTORY)
  set(ENV{PKG_CONFIG_PATH} ${pcdir})
  run(${PKG_CONFIG} --define-variable=prefix=${work}/prefix --modversion TarnFGs)
endif()
