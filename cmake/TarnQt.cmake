# Chooses the Qt generation. TARN_QT is 4, 5 or 6; left empty it becomes 5 where that is found and otherwise 6.
# Qt 4.8 comes from CMake's FindQt4, or from QT4_ROOT, a folder with include/ and lib/ (a panel's SDK).
# Sets TARN_QT_CORE, the Qt Core target. tarn_qt(<variable> <component>) finds further components.

set(TARN_QT "" CACHE STRING "Qt generation, 4, 5 or 6; empty: 5, or else 6")
set(QT4_ROOT "" CACHE PATH "Folder with include/ and lib/ of Qt 4.8")

if(NOT TARN_QT)
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

if(TARN_QT EQUAL 4 AND QT4_ROOT)
  find_library(TARN_QT4_CORE QtCore PATHS ${QT4_ROOT}/lib NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH REQUIRED)
  add_library(TarnQt4Core SHARED IMPORTED GLOBAL)
  set_target_properties(TarnQt4Core PROPERTIES
    IMPORTED_LOCATION ${TARN_QT4_CORE}
    INTERFACE_INCLUDE_DIRECTORIES "${QT4_ROOT}/include;${QT4_ROOT}/include/QtCore"
    INTERFACE_SYSTEM_INCLUDE_DIRECTORIES "${QT4_ROOT}/include;${QT4_ROOT}/include/QtCore")
  set(TARN_QT_CORE TarnQt4Core)
elseif(TARN_QT EQUAL 4)
  find_package(Qt4 4.8 REQUIRED QtCore)
  set(TARN_QT_CORE Qt4::QtCore)
else()
  find_package(Qt${TARN_QT} REQUIRED COMPONENTS Core)
  set(TARN_QT_CORE Qt${TARN_QT}::Core)
endif()
message(STATUS "Qt ${TARN_QT}: ${TARN_QT_CORE}")

# tarn_qt(<variable> <component>): the target of the component, or empty if it is not installed.
function(tarn_qt variable component)
  find_package(Qt${TARN_QT}${component} QUIET)
  if(Qt${TARN_QT}${component}_FOUND)
    set(${variable} Qt${TARN_QT}::${component} PARENT_SCOPE)
  else()
    set(${variable} "" PARENT_SCOPE)
  endif()
endfunction()
