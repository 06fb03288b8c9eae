corvane_add_test(bench_input SOURCES unit/bench_input.cpp LIBRARIES corvane_bench)
corvane_add_test(bench_screen SOURCES unit/bench_screen.cpp LIBRARIES corvane_bench)
corvane_add_test(bench_verdict SOURCES unit/bench_verdict.cpp LIBRARIES corvane_bench)
corvane_add_test(bench_stick SOURCES unit/bench_stick.cpp LIBRARIES corvane_bench SANDBOXED)
target_compile_definitions(bench_stick
  PRIVATE CORVANE_STICK_PROGRAM="$<TARGET_FILE:corvane-stick>")
