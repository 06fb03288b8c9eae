add_library(corvane_bench STATIC
  bench/benchfolder.cpp
  bench/bytesize.cpp
  bench/processtree.cpp
  bench/rfbsession.cpp
  bench/sandbox.cpp
  bench/screenclient.cpp
  bench/slotset.cpp
  bench/station.cpp
  bench/stationlog.cpp)
target_include_directories(corvane_bench PUBLIC ${CMAKE_CURRENT_SOURCE_DIR})
# glib's headers use the word "signals".
target_compile_definitions(corvane_bench
  PUBLIC QT_NO_KEYWORDS
  PRIVATE CORVANE_VERSION="${CORVANE_VERSION}")
target_link_libraries(corvane_bench
  PUBLIC Qt5::Core Qt5::Gui Qt5::Network
  PRIVATE corvane_warnings)
