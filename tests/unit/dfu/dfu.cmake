corvane_add_test(dfu_wire SOURCES unit/dfu/wire.cpp)
corvane_add_test(dfu_package
  SOURCES unit/dfu/package.cpp SANDBOXED)

# On the simulated bus.
foreach(name IN ITEMS session road)
  corvane_add_test(dfu_${name} SANDBOXED
    SOURCES unit/dfu/${name}.cpp LIBRARIES corvane_tests_rig)
  set_property(TEST dfu_${name} APPEND PROPERTY ENVIRONMENT ${simulated_devices})
endforeach()
