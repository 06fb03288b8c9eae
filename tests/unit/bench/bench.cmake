corvane_add_test(bench_days SOURCES unit/bench/days.cpp LIBRARIES corvane_bench)
corvane_add_test(bench_firmware SOURCES unit/bench/firmware.cpp
  LIBRARIES corvane_bench QuaZip::QuaZip)
corvane_add_test(bench_input SOURCES unit/bench/input.cpp LIBRARIES corvane_bench)
target_compile_definitions(bench_input
  PRIVATE CORVANE_REFERENCE="${CMAKE_SOURCE_DIR}/simulator")
corvane_add_test(bench_screen SOURCES unit/bench/screen.cpp LIBRARIES corvane_bench)
corvane_add_test(bench_verdict SOURCES unit/bench/verdict.cpp LIBRARIES corvane_bench)
corvane_add_test(bench_stick SOURCES unit/bench/stick.cpp LIBRARIES corvane_bench SANDBOXED)
target_compile_definitions(bench_stick
  PRIVATE CORVANE_STICK_PROGRAM="$<TARGET_FILE:corvane-stick>")
