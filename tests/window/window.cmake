# What scripts/test installs for this is not asked for under the sanitizers.
if(NOT CORVANE_SANITIZER)
  add_test(NAME window_browser
    COMMAND /usr/bin/python3 ${CMAKE_CURRENT_SOURCE_DIR}/window/browser.py
      $<TARGET_FILE:corvane-sim>)
endif()
