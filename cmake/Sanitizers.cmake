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

if(CORVANE_SANITIZER)
  add_compile_definitions(QT_FORCE_ASSERTS) # which a build with optimization leaves out
endif()

# What every test is run with.
set(CORVANE_SANITIZER_ENVIRONMENT
  "TSAN_OPTIONS=history_size=4:suppressions=${CMAKE_CURRENT_LIST_DIR}/tsan.supp"
  "LSAN_OPTIONS=suppressions=${CMAKE_CURRENT_LIST_DIR}/lsan.supp:print_suppressions=0")

# Linked into every program: tells the thread sanitizer of the order that Qt's queued signals keep, and
# has it read its symbols early.
function(corvane_know_qt_order target)
  if(CORVANE_SANITIZER STREQUAL "thread")
    target_sources(${target} PRIVATE
      ${CMAKE_SOURCE_DIR}/cmake/qthappensbefore.cpp ${CMAKE_SOURCE_DIR}/cmake/symbolsfirst.cpp)
    target_link_libraries(${target} PRIVATE Qt5::CorePrivate)
  endif()
endfunction()
