# Chooses the Qt generation: TARN_QT is 5 or 6, by default 5 where it is found and otherwise 6.
# Sets TARN_QT_CORE, the Qt Core target; tarn_qt(VARIABLE Component ...) finds further ones.

set(TARN_QT "" CACHE STRING "Qt generation, 5 or 6; empty: the first of them that is found")

if(TARN_QT)
  find_package(Qt${TARN_QT} REQUIRED COMPONENTS Core)
else()
  find_package(Qt5 QUIET COMPONENTS Core)
  if(Qt5_FOUND)
    set(TARN_QT 5)
  else()
    find_package(Qt6 QUIET COMPONENTS Core)
    if(NOT Qt6_FOUND)
      message(FATAL_ERROR "Qt Core is missing. On Debian: apt-get install qtbase5-dev, or qt6-base-dev.")
    endif()
    set(TARN_QT 6)
  endif()
endif()
set(TARN_QT_CORE Qt${TARN_QT}::Core)
message(STATUS "Qt ${Qt${TARN_QT}_VERSION}")

# tarn_qt(<variable> <component>): the target of the component, or empty if it is not installed.
function(tarn_qt variable component)
  find_package(Qt${TARN_QT}${component} QUIET)
  if(Qt${TARN_QT}${component}_FOUND)
    set(${variable} Qt${TARN_QT}::${component} PARENT_SCOPE)
  else()
    set(${variable} "" PARENT_SCOPE)
  endif()
endfunction()
