# The virtual machine: the simulated hardware behind a real kernel.
pkg_check_modules(USBREDIRPARSER REQUIRED IMPORTED_TARGET libusbredirparser-0.5)

add_library(corvane_machine STATIC
  machine/computer.cpp
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
  machine/stickport.cpp
  machine/tool.cpp
  machine/virtualmachine.cpp
  machine/writelog.cpp
  usbredir/i2cadapter.cpp
  usbredir/podfunction.cpp
  usbredir/podports.cpp
  usbredir/redirconnection.cpp
  usbredir/redirlayout.cpp
  usbredir/redirport.cpp)
target_link_libraries(corvane_machine
  PUBLIC corvane_bench PkgConfig::USBREDIRPARSER
  PRIVATE corvane_warnings)

target_link_libraries(corvane-sim PRIVATE corvane_machine)

set(boot "")
foreach(script IN ITEMS init make-initramfs prepare-installation start-station)
  configure_file(machine/boot/${script} ${CMAKE_BINARY_DIR}/${CORVANE_PRIVATE_FOLDER}/boot/${script}
    COPYONLY)
  list(APPEND boot machine/boot/${script})
endforeach()
install(PROGRAMS ${boot} DESTINATION ${CORVANE_PRIVATE_FOLDER}/boot)
