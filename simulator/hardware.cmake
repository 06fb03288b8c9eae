# The simulated hardware: pods, their bus and the serial-number memory, for the bench and for tests.
# It knows nothing of the station, whose owner of file descriptors it shares as source.
add_library(corvane_sim_hardware STATIC
  ${CMAKE_CURRENT_LIST_DIR}/i2c/memorychip.cpp
  ${CMAKE_CURRENT_LIST_DIR}/i2c/serialnumbermemory.cpp
  ${CMAKE_CURRENT_LIST_DIR}/pod/bootloader.cpp
  ${CMAKE_CURRENT_LIST_DIR}/pod/initpacket.cpp
  ${CMAKE_CURRENT_LIST_DIR}/pod/objectstore.cpp
  ${CMAKE_CURRENT_LIST_DIR}/pod/podfault.cpp
  ${CMAKE_CURRENT_LIST_DIR}/pod/podmodel.cpp
  ${CMAKE_CURRENT_LIST_DIR}/pod/recording.cpp
  ${CMAKE_CURRENT_LIST_DIR}/pod/refusal.cpp
  ${CMAKE_CURRENT_LIST_DIR}/pod/replyforecast.cpp
  ${CMAKE_CURRENT_LIST_DIR}/pod/slipframing.cpp
  ${CMAKE_CURRENT_LIST_DIR}/testbed/nodeclient.cpp
  ${CMAKE_CURRENT_LIST_DIR}/testbed/nodeserver.cpp
  ${CMAKE_CURRENT_LIST_DIR}/testbed/require.cpp
  ${CMAKE_CURRENT_LIST_DIR}/testbed/testbed.cpp
  ${CMAKE_CURRENT_LIST_DIR}/usb/controlrequest.cpp
  ${CMAKE_CURRENT_LIST_DIR}/usb/devicenode.cpp
  ${CMAKE_CURRENT_LIST_DIR}/usb/podbus.cpp
  ${CMAKE_CURRENT_LIST_DIR}/usb/sysfstree.cpp
  ${CMAKE_CURRENT_LIST_DIR}/usb/ueventsender.cpp
  ${CMAKE_CURRENT_LIST_DIR}/usb/urb.cpp
  ${CMAKE_CURRENT_LIST_DIR}/usb/usbaddress.cpp
  ${CMAKE_CURRENT_LIST_DIR}/usb/usbbus.cpp
  ${CMAKE_CURRENT_LIST_DIR}/usb/usbdescription.cpp
  ${CMAKE_CURRENT_LIST_DIR}/usb/usbdevice.cpp
  ${CMAKE_SOURCE_DIR}/src/storage/uniquefd.cpp)
target_include_directories(corvane_sim_hardware
  PUBLIC ${CMAKE_CURRENT_LIST_DIR} ${CMAKE_SOURCE_DIR}/src)
target_link_libraries(corvane_sim_hardware
  PUBLIC Qt5::Core Threads::Threads
  PRIVATE ZLIB::ZLIB corvane_warnings)
