# Everything that is measured is compiled with the same flags, those of the build type.
find_package(benchmark REQUIRED)
find_package(PkgConfig REQUIRED)
pkg_check_modules(MODBUS REQUIRED IMPORTED_TARGET libmodbus)
tarn_qt(SERIALBUS SerialBus)
tarn_qt(BENCH_SERIALPORT SerialPort)
if(NOT SERIALBUS)
  message(FATAL_ERROR "Qt SerialBus is missing. On Debian: apt-get install libqt5serialbus5-dev.")
endif()

# Shared, as the driver is, so that calling it costs the same.
add_library(bench-plain SHARED plain.cpp)
tarn_host_language(bench-plain)

# What the tests hold against the driver is the baseline of its lists.
set(model ${PROJECT_SOURCE_DIR}/tests/model)
add_library(bench-model SHARED ${model}/model_checks.cpp ${model}/model_lists.cpp ${model}/model_image.cpp
  ${model}/model_frames.cpp ${model}/model_poll.cpp ${model}/model_storage.cpp)
tarn_host_language(bench-model)
target_include_directories(bench-model PUBLIC ${PROJECT_SOURCE_DIR}/tests)

add_library(bench-driver STATIC driver_under_test.cpp)
tarn_host_language(bench-driver)
target_include_directories(bench-driver PUBLIC ${PROJECT_SOURCE_DIR}/tests)
target_link_libraries(bench-driver PUBLIC bench-plain TarnFGs::TarnFGs)

add_library(bench-operations STATIC operations.cpp driver_operations.cpp list_operations.cpp check_operations.cpp
  host_operations.cpp libmodbus_operations.cpp qt_operations.cpp server.cpp)
tarn_host_language(bench-operations)
target_link_libraries(bench-operations PUBLIC bench-driver bench-model fgs-watch tarn-sim tarn-formats PkgConfig::MODBUS ${SERIALBUS}
  ${BENCH_SERIALPORT})

function(bench_program name)
  add_executable(${name} ${name}.cpp)
  tarn_host_language(${name})
  target_link_libraries(${name} PRIVATE ${ARGN})
endfunction()

bench_program(operate bench-operations)
bench_program(times bench-operations benchmark::benchmark)
bench_program(modbus_server bench-plain)
target_include_directories(modbus_server PRIVATE ${PROJECT_SOURCE_DIR}/tests)
bench_program(wire bench-driver fgs-host)
bench_program(line_use TarnFGs::TarnFGs fgs-host tarn-sim)
target_include_directories(line_use PRIVATE ${PROJECT_SOURCE_DIR}/tests)
bench_program(load ${TARN_QT_CORE} dl)
target_link_options(load PRIVATE -Wl,--no-as-needed)
add_dependencies(operate fgs-sim modbus_server)

add_custom_target(benchmarks)
add_dependencies(benchmarks operate times wire line_use load)
