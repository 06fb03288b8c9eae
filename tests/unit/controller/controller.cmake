corvane_add_test(controller_answers SOURCES unit/controller/answers.cpp)
corvane_add_test(controller_archives
  SOURCES unit/controller/archives.cpp SANDBOXED)
corvane_add_test(controller_delivery
  SOURCES unit/controller/delivery.cpp SANDBOXED)
corvane_add_test(controller_report
  SOURCES unit/controller/report.cpp LIBRARIES QuaZip::QuaZip SANDBOXED)
