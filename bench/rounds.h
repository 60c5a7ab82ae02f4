// Runs the registered benchmarks in rounds: each of them once, then each of them again, so that what is compared ran
// at the same time on the same machine. Writes one line for each run to standard output, its fields separated by tabs:
//
//   round  benchmark  threads  wall time of an iteration in ns  processor time of an iteration in ns  bytes
//
// bytes is the benchmark's counter of that name, or 0. Processor time is that of the threads that iterate.
#ifndef LUTC_BENCH_ROUNDS_H
#define LUTC_BENCH_ROUNDS_H

namespace lutc_bench {

// The value of --NAME=VALUE among the arguments, which is taken out of them, or null.
const char* take_option(int& argc, char** argv, const char* name);

// Makes malloc join the small blocks that were freed before, so that no benchmark pays for another's.
void join_free_memory();

// Understands --rounds=N (5) and Google Benchmark's own options. The program's exit code: 1 when a benchmark failed or
// none was chosen, 2 for an unknown argument.
int run_in_rounds(int argc, char** argv);

}  // namespace lutc_bench

#endif
