corvane_add_test(explore_days SOURCES unit/explore/days.cpp LIBRARIES corvane_explore)
corvane_add_test(explore_player SOURCES unit/explore/player.cpp LIBRARIES corvane_explore)
