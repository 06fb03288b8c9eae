corvane_add_test(simulator_bootloader
  SOURCES unit/simulator/bootloader.cpp
  LIBRARIES corvane_sim_hardware)
corvane_add_test(simulator_podmodel
  SOURCES unit/simulator/podmodel.cpp
  LIBRARIES corvane_sim_hardware)

# Real libusb against the simulated bus, in one process; a sanitizer's runtime must come first.
corvane_add_test(simulator_usbbus
  SOURCES unit/simulator/usbbus.cpp
  LIBRARIES corvane_tests_rig)
set(preload libumockdev-preload.so.0)
if(CORVANE_SANITIZER)
  string(SUBSTRING ${CORVANE_SANITIZER} 0 1 initial)
  execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=lib${initial}san.so
    OUTPUT_VARIABLE runtime OUTPUT_STRIP_TRAILING_WHITESPACE)
  string(PREPEND preload "${runtime}:")
endif()
# The second as in the private root's start-station.
set(simulated_devices "LD_PRELOAD=${preload}" SYSTEMD_DEVICE_VERIFY_SYSFS=0)
set_property(TEST simulator_usbbus APPEND PROPERTY ENVIRONMENT ${simulated_devices})

corvane_add_test(simulator_usbredir
  SOURCES unit/simulator/usbredir.cpp
  LIBRARIES corvane_machine)
corvane_add_test(simulator_machine
  SOURCES unit/simulator/machine.cpp
  LIBRARIES corvane_machine)
