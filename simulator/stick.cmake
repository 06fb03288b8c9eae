# The stick's server: a file system in a process of its own, started by the bench's `mount`.
pkg_check_modules(FUSE REQUIRED IMPORTED_TARGET fuse3)
add_library(corvane_sim_stick STATIC stick/sticksettings.cpp)
target_include_directories(corvane_sim_stick PUBLIC ${CMAKE_CURRENT_SOURCE_DIR})
target_link_libraries(corvane_sim_stick PUBLIC Qt5::Core PRIVATE corvane_warnings)

add_executable(corvane-stick
  stick/insertionmark.cpp
  stick/main.cpp
  stick/medium.cpp
  stick/operations.cpp
  ${CMAKE_SOURCE_DIR}/src/storage/uniquefd.cpp)
target_include_directories(corvane-stick PRIVATE ${CMAKE_SOURCE_DIR}/src)
target_link_libraries(corvane-stick PRIVATE corvane_sim_stick PkgConfig::FUSE corvane_warnings)
corvane_keep_private(corvane-stick)
