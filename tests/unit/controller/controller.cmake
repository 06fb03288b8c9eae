corvane_add_test(controller_answers SOURCES unit/controller/answers.cpp)
corvane_add_test(controller_archives
  SOURCES unit/controller/archives.cpp LIBRARIES corvane_sim_hardware SANDBOXED)
corvane_add_test(controller_readout
  SOURCES unit/controller/readout.cpp LIBRARIES corvane_tests_rig SANDBOXED)
set_property(TEST controller_archives controller_readout APPEND PROPERTY ENVIRONMENT ${simulated_devices})
corvane_add_test(controller_delivery
  SOURCES unit/controller/delivery.cpp SANDBOXED)
corvane_add_test(controller_report
  SOURCES unit/controller/report.cpp LIBRARIES QuaZip::QuaZip SANDBOXED)
