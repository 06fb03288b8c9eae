# The screens and their pictures, under ":/qml" and ":/img". The library is static: a program that
# shows them calls Q_INIT_RESOURCE(screens) first.
set(CORVANE_SCREENS main StartupScreen Corvane Pod InfoWindow Theme)
# Each picture at the pixels it is drawn with on the panel, width by height.
set(CORVANE_PICTURES
  qv_logo=480x272 qv_logo_clear=160x91 charge_icon=16x26 failed_icon=16x16 unchecked_icon=10x20
  addpod=255x185 sync=255x185 plugUSB=255x185 syncOK=255x185 cross_mark=255x185)

find_program(RSVG_CONVERT rsvg-convert REQUIRED)

set(screens_dir ${CMAKE_CURRENT_BINARY_DIR}/screens)
file(MAKE_DIRECTORY ${screens_dir})
set(screens_entries "")
set(screens_files ${CMAKE_CURRENT_SOURCE_DIR}/qml/qmldir)
foreach(screen IN LISTS CORVANE_SCREENS)
  set(source ${CMAKE_CURRENT_SOURCE_DIR}/qml/${screen}.qml)
  list(APPEND screens_files ${source})
  string(APPEND screens_entries "<file alias=\"qml/${screen}.qml\">${source}</file>\n")
endforeach()
foreach(picture IN LISTS CORVANE_PICTURES)
  string(REGEX MATCH "^(.+)=([0-9]+)x([0-9]+)$" matched ${picture})
  set(name ${CMAKE_MATCH_1})
  set(source ${CMAKE_CURRENT_SOURCE_DIR}/img/${name}.svg)
  set(png ${screens_dir}/${name}.png)
  add_custom_command(OUTPUT ${png}
    COMMAND ${RSVG_CONVERT} --width ${CMAKE_MATCH_2} --height ${CMAKE_MATCH_3}
            --output ${png} ${source}
    DEPENDS ${source} VERBATIM)
  list(APPEND screens_files ${png})
  string(APPEND screens_entries "<file alias=\"img/${name}.png\">${png}</file>\n")
endforeach()
configure_file(qml/screens.qrc.in ${screens_dir}/screens.qrc @ONLY)

add_custom_command(OUTPUT ${screens_dir}/qrc_screens.cpp
  COMMAND Qt5::rcc --name screens --output ${screens_dir}/qrc_screens.cpp ${screens_dir}/screens.qrc
  DEPENDS ${screens_dir}/screens.qrc ${screens_files} VERBATIM)
target_sources(corvane_station PRIVATE ${screens_dir}/qrc_screens.cpp)
set_source_files_properties(${screens_dir}/qrc_screens.cpp PROPERTIES SKIP_AUTOGEN ON)
