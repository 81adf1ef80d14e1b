# Warnings are errors, but for compilers older than those tried; what the driver is compiled as, and what everything around it is.

set(TARN_WARNINGS -Wall -Wextra -Wconversion -Wshadow -Werror)
set(TARN_DRIVER_WARNINGS -pedantic -Wcast-align)
set(TARN_PREFIX_MAP -ffile-prefix-map)
if(CMAKE_CXX_COMPILER_ID MATCHES Clang)
  list(APPEND TARN_DRIVER_WARNINGS -Wthread-safety -Wthread-safety-beta)
elseif(CMAKE_CXX_COMPILER_VERSION VERSION_LESS 8) # lacks both options, and warns where later ones know better
  list(REMOVE_ITEM TARN_WARNINGS -Werror)
  set(TARN_PREFIX_MAP -fdebug-prefix-map)
else()
  list(APPEND TARN_DRIVER_WARNINGS -Wcast-align=strict)
endif()

if(TARN_SANITIZE)
  add_compile_options(-fsanitize=${TARN_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${TARN_SANITIZE})
endif()

# The driver: C++11 (Qt 6 needs C++17) without exceptions and RTTI.
function(tarn_driver_language target)
  if(TARN_QT EQUAL 6)
    target_compile_features(${target} PUBLIC cxx_std_17)
    set_target_properties(${target} PROPERTIES CXX_STANDARD 17)
  else()
    target_compile_features(${target} PUBLIC cxx_std_11)
    set_target_properties(${target} PROPERTIES CXX_STANDARD 11)
  endif()
  set_target_properties(${target} PROPERTIES CXX_EXTENSIONS OFF)
  target_compile_options(${target} PRIVATE ${TARN_WARNINGS} ${TARN_DRIVER_WARNINGS} -fno-exceptions -fno-rtti
    ${TARN_PREFIX_MAP}=${PROJECT_SOURCE_DIR}/=)
  if(NOT TARN_SANITIZE) # whose runtime is linked into the program only
    target_link_options(${target} PRIVATE -Wl,--no-undefined)
  endif()
endfunction()

# Host, tools and tests: C++17. Of debug information they have the lines only, which saves a quarter of the compiling;
# the binary interface is read from the driver's.
function(tarn_host_language target)
  set_target_properties(${target} PROPERTIES CXX_STANDARD 17 CXX_STANDARD_REQUIRED ON CXX_EXTENSIONS OFF)
  target_compile_options(${target} PRIVATE ${TARN_WARNINGS} $<$<CONFIG:RelWithDebInfo>:-g1>)
endfunction()

# What parses a command line, of a target of this folder: it takes long to optimise and no time to run. What is
# installed is optimised like everything else.
function(tarn_parses_arguments file)
  set_source_files_properties(${file} PROPERTIES
    COMPILE_OPTIONS $<$<CONFIG:RelWithDebInfo>:-O0> SKIP_PRECOMPILE_HEADERS ON)
endfunction()
