# Each scenario plays the real station at the bench to its end; the bench judges it.
foreach(scenario IN ITEMS
    backup backupfull backuppower backuppulled bounce diskfull erasedfirst export exportfull
    faults firmware firmwareescaped firmwareunheard powerloss quit sizes stick updatemarker)
  add_test(NAME scenario_${scenario}
    COMMAND corvane-sim --once --scenario ${CMAKE_CURRENT_LIST_DIR}/${scenario}.json)
  set_tests_properties(scenario_${scenario} PROPERTIES
    ENVIRONMENT "${CORVANE_SANITIZER_ENVIRONMENT}")
endforeach()

corvane_add_test(scenario_churn SOURCES scenarios/churn.cpp LIBRARIES corvane_bench)
target_compile_definitions(scenario_churn
  PRIVATE CORVANE_STATION_PROGRAM="$<TARGET_FILE:corvane>")

corvane_add_test(scenario_commands SOURCES scenarios/commands.cpp LIBRARIES corvane_bench)
target_compile_definitions(scenario_commands
  PRIVATE CORVANE_STATION_PROGRAM="$<TARGET_FILE:corvane>")
