corvane_add_test(dfu_wire SOURCES unit/dfu_wire.cpp)
