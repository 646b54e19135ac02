// The round trip of a cheap request on the modem of the process and through
// the modem daemon, with 1, 4 and 16 client threads on one handle: p50 and
// p99 of a request (p50_ns, p99_ns) and the requests per second (rps).
// Each runs simd_bench_client in a process of its own, VORNSIM_SOCKET set
// for the daemon's.
//   tools/sandbox/vornpal-sandbox --expose build -- build/bench/vornpal_bench --benchmark_filter=Simd
#include <benchmark/benchmark.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>

namespace {

constexpr int kRequests = 20000;  // in all, over the threads
constexpr char kDir[] = "/tmp/vornsimd-bench";

std::string build_dir() {
  char self[PATH_MAX];
  ssize_t n = readlink("/proc/self/exe", self, sizeof self - 1);
  std::string path(self, n > 0 ? static_cast<size_t>(n) : 0);
  path = path.substr(0, path.rfind('/'));  // build/bench
  return path.substr(0, path.rfind('/'));
}

// The daemon of the run, started at the first use and ended at exit.
struct Daemon {
  pid_t pid = 0;
  Daemon() {
    std::string program = build_dir() + "/tools/vornsimd";
    pid = fork();
    if (pid == 0) {
      execl(program.c_str(), program.c_str(), "--dir", kDir, static_cast<char *>(nullptr));
      _exit(127);
    }
    const std::string socket = std::string(kDir) + "/vornsimd.sock";
    for (int i = 0; i < 500 && access(socket.c_str(), F_OK) != 0; ++i)
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
  ~Daemon() {
    kill(pid, SIGTERM);
    waitpid(pid, nullptr, 0);
  }
};

void round_trips(benchmark::State &state, bool through_daemon) {
  const int threads = static_cast<int>(state.range(0));
  std::string command = build_dir() + "/bench/simd_bench_client " + std::to_string(threads) + " " +
                        std::to_string(kRequests / threads);
  command = (through_daemon ? std::string("VORNSIM_SOCKET=") + kDir + "/vornsimd.sock " : "unset VORNSIM_SOCKET; ") +
            command;
  double p50 = 0, p99 = 0, rps = 0;
  for (auto _ : state) {
    FILE *out = popen(command.c_str(), "r");
    if (out == nullptr || std::fscanf(out, "%lf %lf %lf", &p50, &p99, &rps) != 3) {
      state.SkipWithError("the client did not run");
      if (out != nullptr) pclose(out);
      return;
    }
    pclose(out);
    state.SetIterationTime(kRequests / rps);
  }
  state.counters["p50_ns"] = p50;
  state.counters["p99_ns"] = p99;
  state.counters["rps"] = rps;
}

void SimdInProcess(benchmark::State &state) { round_trips(state, false); }
void SimdThroughDaemon(benchmark::State &state) {
  static Daemon daemon;
  round_trips(state, true);
}

BENCHMARK(SimdInProcess)->Arg(1)->Arg(4)->Arg(16)->Iterations(1)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(SimdThroughDaemon)->Arg(1)->Arg(4)->Arg(16)->Iterations(1)->UseManualTime()->Unit(benchmark::kMillisecond);

}  // namespace
