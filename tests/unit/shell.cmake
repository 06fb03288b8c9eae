corvane_add_test(shell_logger SOURCES unit/shell_logger.cpp)
corvane_add_test(shell_handover SOURCES unit/shell_handover.cpp)
corvane_add_test(shell_uibackend SOURCES unit/shell_uibackend.cpp)
corvane_add_test(shell_screens SOURCES unit/shell_screens.cpp)
set_property(TEST shell_screens APPEND PROPERTY ENVIRONMENT
  "LSAN_OPTIONS=suppressions=${CMAKE_CURRENT_SOURCE_DIR}/unit/shell_lsan.supp:print_suppressions=0"
  "TSAN_OPTIONS=suppressions=${CMAKE_CURRENT_SOURCE_DIR}/unit/shell_tsan.supp")
