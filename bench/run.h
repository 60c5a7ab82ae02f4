// What the benchmark programs have in common.
#ifndef LUTC_BENCH_RUN_H
#define LUTC_BENCH_RUN_H

namespace lutc_bench {

// Makes malloc join the small blocks that were freed before, so that no benchmark pays for another's.
void join_free_memory();

// Runs the registered benchmarks as Google Benchmark's options say. The program's exit code: 1 when none was chosen,
// 2 for an unknown argument. A benchmark that failed says so in the output.
int run_benchmarks(int argc, char** argv);

}  // namespace lutc_bench

#endif
