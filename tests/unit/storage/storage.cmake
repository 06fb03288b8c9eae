# Preloaded into programs, hence never with a sanitizer's runtime of its own.
add_library(faultystorage MODULE support/faultystorage.c)
# It stands in for the calls of both names, which are one otherwise.
target_compile_options(faultystorage PRIVATE -fno-sanitize=all -U_FILE_OFFSET_BITS)
target_link_options(faultystorage PRIVATE -fno-sanitize=all)
target_link_libraries(faultystorage PRIVATE corvane_warnings)

add_executable(faultystorage_driver support/faultystorage_driver.cpp)
target_link_libraries(faultystorage_driver PRIVATE corvane_station corvane_warnings)
target_link_options(faultystorage_driver PRIVATE -Wl,--as-needed)

# What runs the driver with the faulty storage preloaded.
add_library(faultyrun OBJECT support/faultyrun.cpp)
target_include_directories(faultyrun PRIVATE ${CMAKE_SOURCE_DIR}/tests)
target_link_libraries(faultyrun PRIVATE Qt5::Core corvane_warnings)
add_dependencies(faultyrun faultystorage faultystorage_driver)
target_compile_definitions(faultyrun PRIVATE
  FAULTYSTORAGE_LIBRARY="$<TARGET_FILE:faultystorage>"
  FAULTYSTORAGE_DRIVER="$<TARGET_FILE:faultystorage_driver>")

foreach(name IN ITEMS power archives)
  corvane_add_test(storage_${name}
    SOURCES unit/storage/${name}.cpp support/faultystation.cpp LIBRARIES faultyrun)
endforeach()
corvane_add_test(storage_commands SOURCES unit/storage/commands.cpp
  LIBRARIES faultyrun SANDBOXED)

corvane_add_test(storage_deflate SOURCES unit/storage/deflate.cpp)
corvane_add_test(storage_zip
  SOURCES unit/storage/zip.cpp)
corvane_add_test(storage_large
  SOURCES unit/storage/large.cpp)
corvane_add_test(storage_filesaver SOURCES unit/storage/filesaver.cpp)
corvane_add_test(storage_usbkey SOURCES unit/storage/usbkey.cpp SANDBOXED)
