add_library(corvane_bench STATIC
  bench/archivecheck.cpp
  bench/archivehole.cpp
  bench/backupcheck.cpp
  bench/bench.cpp
  bench/benchfolder.cpp
  bench/benchstick.cpp
  bench/bytesize.cpp
  bench/companions.cpp
  bench/copypromise.cpp
  bench/dependentprocess.cpp
  bench/earlierarchives.cpp
  bench/firmware.cpp
  bench/jsonplace.cpp
  bench/neededprograms.cpp
  bench/options.cpp
  bench/podplan.cpp
  bench/podrack.cpp
  bench/privateroot.cpp
  bench/processtree.cpp
  bench/prompt.cpp
  bench/rfbsession.cpp
  bench/sandbox.cpp
  bench/sandboxstation.cpp
  bench/scenario.cpp
  bench/scenarioparser.cpp
  bench/scenariorunner.cpp
  bench/screenclient.cpp
  bench/screenreader.cpp
  bench/screenserver.cpp
  bench/servedstick.cpp
  bench/slotset.cpp
  bench/station.cpp
  bench/stationlog.cpp
  bench/statustext.cpp
  bench/stickcheck.cpp
  bench/stickcontent.cpp
  bench/stickparser.cpp
  bench/verbparser.cpp
  bench/verdict.cpp
  ${CMAKE_SOURCE_DIR}/src/interruption.cpp)
target_compile_definitions(corvane_bench
  PUBLIC QT_NO_KEYWORDS # as the simulated hardware below it
  PRIVATE CORVANE_VERSION="${CORVANE_VERSION}"
          CORVANE_PRIVATE_FOLDER="${CORVANE_PRIVATE_FOLDER}")
target_link_libraries(corvane_bench
  PUBLIC corvane_sim_hardware corvane_sim_stick Qt5::Core Qt5::Gui Qt5::Network
  PRIVATE QuaZip::QuaZip corvane_warnings)

add_executable(corvane-sim bench/main.cpp)
target_link_libraries(corvane-sim PRIVATE corvane_bench corvane_warnings)
corvane_know_qt_order(corvane-sim)
add_dependencies(corvane-sim corvane)
add_dependencies(corvane_bench corvane-stick)

set(tools "")
foreach(tool IN ITEMS blkid lsusb mount start-station umount)
  configure_file(tools/${tool} ${CMAKE_BINARY_DIR}/${CORVANE_PRIVATE_FOLDER}/tools/${tool} COPYONLY)
  list(APPEND tools tools/${tool})
endforeach()
install(TARGETS corvane-sim DESTINATION bin)
install(PROGRAMS ${tools} DESTINATION ${CORVANE_PRIVATE_FOLDER}/tools)
install(DIRECTORY scenarios DESTINATION share/corvane-simulator)

# The bench reads the station's panel by the pictures that the station shows.
set(panel_dir ${CMAKE_CURRENT_BINARY_DIR}/panel)
file(MAKE_DIRECTORY ${panel_dir})
configure_file(bench/panel.qrc.in ${panel_dir}/panel.qrc @ONLY)
add_custom_command(OUTPUT ${panel_dir}/qrc_panel.cpp
  COMMAND Qt5::rcc --name panel --output ${panel_dir}/qrc_panel.cpp ${panel_dir}/panel.qrc
  DEPENDS ${panel_dir}/panel.qrc corvane_station VERBATIM)
target_sources(corvane_bench PRIVATE ${panel_dir}/qrc_panel.cpp)
set_source_files_properties(${panel_dir}/qrc_panel.cpp PROPERTIES SKIP_AUTOGEN ON)
