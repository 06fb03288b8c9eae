# The station in a virtual machine; minutes, so only with "ctest -C system", as scripts/test --system
# does. A machine takes both cores of a small computer: one after the other. Each test has a limit
# of its own; ctest's comes later.
set(alone RUN_SERIAL ON TIMEOUT 3600)
foreach(scenario IN ITEMS
    system/commands system/firmware system/phases system/roads system/stick system/stickfull scenarios/backup)
  get_filename_component(name ${scenario} NAME)
  add_test(NAME system_${name}
    COMMAND corvane-sim --machine --once --scenario ${CMAKE_CURRENT_SOURCE_DIR}/${scenario}.json
    CONFIGURATIONS system)
  set_tests_properties(system_${name} PROPERTIES ${alone})
endforeach()

add_library(corvane_tests_machine STATIC support/machinetest.cpp system/testedcomputer.cpp)
target_link_libraries(corvane_tests_machine
  PUBLIC corvane_machine corvane_tests_common
  PRIVATE corvane_warnings)
target_compile_definitions(corvane_tests_machine
  PUBLIC CORVANE_STATION_PROGRAM="$<TARGET_FILE:corvane>"
         CORVANE_PACKAGES="${CMAKE_SOURCE_DIR}/build/package")
corvane_share_precompiled(corvane_tests_machine corvane_tests_common)

# Played on a desk's computer, or on the board that CORVANE_BOARD says. Further arguments: more
# sources.
function(corvane_add_system_test name)
  add_executable(system_${name} ${CMAKE_CURRENT_FUNCTION_LIST_DIR}/${name}.cpp ${ARGN})
  target_link_libraries(system_${name} PRIVATE corvane_tests_machine corvane_warnings)
  corvane_share_precompiled(system_${name} corvane_tests_common)
  corvane_know_qt_order(system_${name})
  add_test(NAME system_${name} COMMAND system_${name} CONFIGURATIONS system)
  set_tests_properties(system_${name} PROPERTIES
    ENVIRONMENT "QTEST_FUNCTION_TIMEOUT=3000000" ${alone})
endfunction()
corvane_add_system_test(optdisk)
corvane_add_system_test(package)
corvane_add_system_test(powercuts)

corvane_add_system_test(writelog support/diskstates.cpp support/writelog.cpp)
target_compile_definitions(system_writelog
  PRIVATE CORVANE_STORAGE_DRIVER="$<TARGET_FILE:faultystorage_driver>")
add_dependencies(system_writelog faultystorage_driver)

corvane_add_system_test(lyingdisk)
add_test(NAME packages COMMAND ${CMAKE_SOURCE_DIR}/scripts/package --if-changed
  CONFIGURATIONS system)
set_tests_properties(packages PROPERTIES FIXTURES_SETUP packages)
set_tests_properties(system_package PROPERTIES FIXTURES_REQUIRED packages)

# The same on a station's board, which scripts/test --board makes ready.
set(board ${CMAKE_SOURCE_DIR}/build/board)
set(on_board CONFIGURATIONS board WORKING_DIRECTORY ${board})
foreach(scenario IN ITEMS commands firmware roads stick stickfull)
  add_test(NAME board_${scenario} COMMAND corvane-sim --board ${board} --once
    --scenario ${CMAKE_CURRENT_SOURCE_DIR}/system/${scenario}.json ${on_board})
  set_tests_properties(board_${scenario} PROPERTIES ${alone})
endforeach()
foreach(name IN ITEMS package powercuts)
  add_test(NAME board_${name} COMMAND system_${name} ${on_board})
  set_tests_properties(board_${name} PROPERTIES ${alone} ENVIRONMENT
    "CORVANE_BOARD=${board};CORVANE_POWER_CUTS=1;QTEST_FUNCTION_TIMEOUT=3000000")
endforeach()
# Its processor without the rest of it.
add_test(NAME board_large COMMAND ${CMAKE_SOURCE_DIR}/scripts/test-on-arm storage_large
  CONFIGURATIONS board)
set_tests_properties(board_large PROPERTIES ${alone})
