# Serial ports and pseudo-terminals for the host and the tools, where Qt SerialPort is installed.
# Sets TARN_QT_SERIALPORT, the target, or empty, and TARN_QT_SERIALPORT_PACKAGE, Debian's package for the Qt in use.

set(TARN_QT_SERIALPORT_PACKAGE libqt5serialport5-dev)
if(TARN_QT EQUAL 6)
  set(TARN_QT_SERIALPORT_PACKAGE qt6-serialport-dev)
endif()
tarn_qt(TARN_QT_SERIALPORT SerialPort)
if(NOT TARN_QT_SERIALPORT)
  message(STATUS "Qt SerialPort is missing: no serial ports for fgs and fgs-sim. "
    "On Debian: apt-get install ${TARN_QT_SERIALPORT_PACKAGE}.")
endif()
