# Cross-compiles for the panel, 32-bit ARM (Cortex-A8), against a Debian root for armhf. TARN_ARMHF_ROOT names the
# root; what was built runs under qemu.
set(TARN_ARMHF_ROOT "" CACHE PATH "Root file system for armhf")
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES TARN_ARMHF_ROOT)
if(NOT TARN_ARMHF_ROOT)
  message(FATAL_ERROR "TARN_ARMHF_ROOT is not set; ./check --arm makes a root and sets it")
endif()

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR arm)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)
set(CMAKE_LIBRARY_ARCHITECTURE arm-linux-gnueabihf)
set(CMAKE_CXX_FLAGS_INIT "-mcpu=cortex-a8 -mfpu=neon -mfloat-abi=hard -Wno-psabi")

set(CMAKE_SYSROOT ${TARN_ARMHF_ROOT})
set(CMAKE_FIND_ROOT_PATH ${TARN_ARMHF_ROOT})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm-static -L ${TARN_ARMHF_ROOT})
