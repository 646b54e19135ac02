// Starting a child: vorn_ds_system_call3, which runs a program with no shell,
// against the shell paths, in a small process and in one that holds a large
// resident heap, as a long-running daemon may, where a copy of the caller's
// address space costs the most.
//   tools/sandbox/vornpal-sandbox --expose . -- build-bench/bench/vornpal_bench --benchmark_filter=Process
#include <benchmark/benchmark.h>

#include <cstring>
#include <memory>

#include <vornpal/log.h>
#include <vornpal/process.h>
#include <vornsim/sim.h>

namespace {

// Resident heap of the given number of MiB, every page touched.
class Ballast {
 public:
  explicit Ballast(int64_t mib) : bytes_(static_cast<size_t>(mib) << 20) {
    if (bytes_ == 0) return;
    block_.reset(new char[bytes_]);
    std::memset(block_.get(), 1, bytes_);
    benchmark::DoNotOptimize(block_.get());
  }

 private:
  size_t bytes_;
  std::unique_ptr<char[]> block_;
};

void quiet() {
  vornsim::set_diag_record(false);
  vorn_set_log_level(1);
}

void BM_ProcessSystemCall3(benchmark::State &state) {
  quiet();
  Ballast ballast(state.range(0));
  char output[32];
  for (auto _ : state) {
    if (vorn_ds_system_call3("echo x", 0, output, sizeof output, 0) != 0) {
      state.SkipWithError("echo failed");
      break;
    }
  }
}
BENCHMARK(BM_ProcessSystemCall3)->Arg(0)->Arg(512)->Unit(benchmark::kMicrosecond);

void BM_ProcessSystemCallShell(benchmark::State &state) {
  quiet();
  Ballast ballast(state.range(0));
  const char command[] = "echo x > /dev/null";
  for (auto _ : state) {
    if (vorn_system_call(command, sizeof command - 1) != 0) {
      state.SkipWithError("echo failed");
      break;
    }
  }
}
BENCHMARK(BM_ProcessSystemCallShell)->Arg(0)->Arg(512)->Unit(benchmark::kMicrosecond);

void BM_ProcessPopen(benchmark::State &state) {
  quiet();
  Ballast ballast(state.range(0));
  char output[32];
  for (auto _ : state) {
    if (vorn_popen_call("echo x", output, sizeof output) != 0) {
      state.SkipWithError("echo failed");
      break;
    }
  }
}
BENCHMARK(BM_ProcessPopen)->Arg(0)->Arg(512)->Unit(benchmark::kMicrosecond);

}  // namespace
