corvane_add_test(shell_logger SOURCES unit/shell_logger.cpp)
corvane_add_test(shell_handover SOURCES unit/shell_handover.cpp)
corvane_add_test(shell_start SOURCES unit/shell_start.cpp support/testfiles.cpp)
target_compile_definitions(shell_start
  PRIVATE CORVANE_STATION_PROGRAM="$<TARGET_FILE:corvane>")
add_dependencies(shell_start corvane)
corvane_add_test(shell_uibackend SOURCES unit/shell_uibackend.cpp)
corvane_add_test(shell_screens SOURCES unit/shell_screens.cpp unit/shell_look.cpp)
