target_sources(corvane_station PRIVATE
  utils/archiveaddition.cpp
  utils/archivedevice.cpp
  utils/storagefile.cpp
  utils/undofile.cpp
  utils/undorecord.cpp
  utils/uniquefd.cpp
  utils/zipdirectory.cpp
  utils/zipextraction.cpp
  utils/ziputils.cpp)
