# The virtual machine: the simulated hardware behind a real kernel.
pkg_check_modules(USBREDIRPARSER REQUIRED IMPORTED_TARGET libusbredirparser-0.5)

add_library(corvane_machine STATIC
  machine/imagestick.cpp
  machine/machinearguments.cpp
  machine/machinekernel.cpp
  machine/machinereport.cpp
  machine/machineshell.cpp
  machine/machinesite.cpp
  machine/machinestation.cpp
  machine/optdisk.cpp
  machine/qmpclient.cpp
  machine/stickimage.cpp
  machine/tool.cpp
  machine/virtualmachine.cpp
  usbredir/i2cadapter.cpp
  usbredir/podfunction.cpp
  usbredir/podports.cpp
  usbredir/redirconnection.cpp
  usbredir/redirlayout.cpp
  usbredir/redirport.cpp)
target_compile_definitions(corvane_machine
  PRIVATE CORVANE_BOOT_FOLDER="${CMAKE_CURRENT_SOURCE_DIR}/machine/boot")
target_link_libraries(corvane_machine
  PUBLIC corvane_bench PkgConfig::USBREDIRPARSER
  PRIVATE corvane_warnings)

target_link_libraries(corvane-sim PRIVATE corvane_machine)
