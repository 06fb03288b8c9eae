corvane_add_test(shell_logger SOURCES unit/shell/logger.cpp)
corvane_add_test(shell_keptlog SOURCES unit/shell/keptlog.cpp)
corvane_add_test(shell_handover SOURCES unit/shell/handover.cpp)
corvane_add_test(shell_start SOURCES unit/shell/start.cpp)
target_compile_definitions(shell_start
  PRIVATE CORVANE_STATION_PROGRAM="$<TARGET_FILE:corvane>")
add_dependencies(shell_start corvane)
corvane_add_test(shell_uibackend SOURCES unit/shell/uibackend.cpp)
corvane_add_test(shell_screens SOURCES unit/shell/screens.cpp unit/shell/look.cpp)
corvane_add_test(shell_marks SOURCES unit/shell/marks.cpp unit/shell/look.cpp
  LIBRARIES corvane_bench)
