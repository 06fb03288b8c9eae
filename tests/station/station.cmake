# Each scenario plays the real station at the bench to its end; the bench judges it.
foreach(scenario IN ITEMS
    archivefull backup backupfull backuplies backuppower backuppulled bounce commandhuge commandsleft
    commandunreadable copykilled copypulled
    diskfull emptypod erasedfirst export exportfull faults firmware firmwareescaped firmwareunheard
    nearlyfull powerloss quit report sharedname sizes stick sticklies stop toosmall updatemarker)
  add_test(NAME scenario_${scenario}
    COMMAND corvane-sim --once --scenario ${CMAKE_CURRENT_SOURCE_DIR}/scenarios/${scenario}.json)
  set_tests_properties(scenario_${scenario} PROPERTIES
    ENVIRONMENT "${CORVANE_SANITIZER_ENVIRONMENT}")
endforeach()

# What people are shown has to come out right.
foreach(tour IN ITEMS 1-good-day 2-failing-pod 3-full-stick 4-power-cut 5-new-firmware)
  add_test(NAME scenario_tour_${tour}
    COMMAND corvane-sim --once --scenario ${CMAKE_SOURCE_DIR}/simulator/scenarios/tour/${tour}.json)
  set_tests_properties(scenario_tour_${tour} PROPERTIES
    ENVIRONMENT "${CORVANE_SANITIZER_ENVIRONMENT}")
endforeach()

corvane_add_test(scenario_churn SOURCES station/churn.cpp LIBRARIES corvane_bench)
target_compile_definitions(scenario_churn
  PRIVATE CORVANE_STATION_PROGRAM="$<TARGET_FILE:corvane>")

# Made of parts, played as the files are.
corvane_add_test(scenario_starts
  SOURCES station/starts.cpp support/playedscenario.cpp LIBRARIES corvane_bench)
target_compile_definitions(scenario_starts
  PRIVATE CORVANE_STATION_PROGRAM="$<TARGET_FILE:corvane>")

# Twenty short days out of their seeds, side by side: mostly waiting, as a station is.
add_test(NAME explore_seeds
  COMMAND corvane-sim --explore 20 --seed 113 --episodes 5 --jobs 20
    --keep ${CMAKE_CURRENT_BINARY_DIR}/explored)
set_tests_properties(explore_seeds PROPERTIES ENVIRONMENT "${CORVANE_SANITIZER_ENVIRONMENT}")
