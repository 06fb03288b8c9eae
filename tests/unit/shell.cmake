corvane_add_test(shell_logger SOURCES unit/shell_logger.cpp)
corvane_add_test(shell_handover SOURCES unit/shell_handover.cpp)
corvane_add_test(shell_uibackend SOURCES unit/shell_uibackend.cpp)
corvane_add_test(shell_screens SOURCES unit/shell_screens.cpp unit/shell_look.cpp)
# Qt is not instrumented for ThreadSanitizer, so what its libraries do among themselves (picture
# slices in their thread pool, the test library's watchdog) looks like races. Only memory that those
# libraries touch themselves is left out; every access in the station's own code still counts.
set_property(TEST shell_logger shell_handover shell_uibackend shell_screens
  APPEND PROPERTY ENVIRONMENT
  "LSAN_OPTIONS=suppressions=${CMAKE_CURRENT_SOURCE_DIR}/unit/shell_lsan.supp:print_suppressions=0"
  "TSAN_OPTIONS=ignore_noninstrumented_modules=1")
