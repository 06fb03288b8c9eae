target_sources(corvane_station PRIVATE
  dfu/dfumanifest.cpp
  dfu/dfureply.cpp
  dfu/slip.cpp
  downloader/downloader.cpp
  downloader/downloadexception.cpp
  main/archiveticket.cpp
  main/corvane.cpp
  main/deviceslot.cpp
  main/discovery.cpp
  main/pod.cpp
  utils/interruptiblesleep.cpp
  utils/libusbutils.cpp
  utils/libusbutilsexception.cpp
  utils/serialnumberchip.cpp
  utils/usbcontext.cpp)
