corvane_add_test(controller_answers SOURCES unit/controller_answers.cpp)
corvane_add_test(controller_archives
  SOURCES unit/controller_archives.cpp support/testfiles.cpp SANDBOXED)
corvane_add_test(controller_delivery
  SOURCES unit/controller_delivery.cpp support/testfiles.cpp support/zipbytes.cpp SANDBOXED)
