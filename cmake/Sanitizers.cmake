# -DCORVANE_SANITIZER=address (with undefined behaviour) or =thread; the presets asan and tsan set it.
set(CORVANE_SANITIZER "" CACHE STRING "address, thread or empty")
set_property(CACHE CORVANE_SANITIZER PROPERTY STRINGS "" address thread)

if(CORVANE_SANITIZER STREQUAL "address")
  add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
elseif(CORVANE_SANITIZER STREQUAL "thread")
  add_compile_options(-fsanitize=thread -fno-omit-frame-pointer)
  add_link_options(-fsanitize=thread)
elseif(NOT CORVANE_SANITIZER STREQUAL "")
  message(FATAL_ERROR "CORVANE_SANITIZER is address, thread or empty, not '${CORVANE_SANITIZER}'")
endif()
