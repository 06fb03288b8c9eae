target_sources(corvane_station PRIVATE
  utils/archiveaddition.cpp
  utils/archivedevice.cpp
  utils/backupgenerator.cpp
  utils/childprocess.cpp
  utils/filesaver.cpp
  utils/storagefile.cpp
  utils/undofile.cpp
  utils/undorecord.cpp
  utils/uniquefd.cpp
  utils/usbcmdutils.cpp
  utils/usbkeyutils.cpp
  utils/zipdirectory.cpp
  utils/zipextraction.cpp
  utils/ziputils.cpp)
