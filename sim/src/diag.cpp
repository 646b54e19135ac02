// The platform's diag sink (libdiag) as the simulated modem provides it:
// every line the library hands over is kept for the tests, and echoed to
// standard error on request.
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <mutex>

#include <vornpal/platform/diag.h>
#include <vornsim/sim.h>

#include "engine.h"

namespace vornsim {
namespace {

struct Diag {
  std::mutex mutex;
  std::vector<DiagLine> lines;
  bool echo = std::getenv("VORNSIM_DIAG_ECHO") != nullptr;
  bool record = true;
  bool init_ok = true;
  int init_calls = 0;
};

Diag &diag() {
  static Diag instance;
  return instance;
}

}  // namespace

void reset_diag() {
  Diag &d = diag();
  std::lock_guard<std::mutex> lock(d.mutex);
  d.lines.clear();
  d.init_ok = true;
  d.record = true;
  d.init_calls = 0;
}

std::vector<DiagLine> diag_lines() {
  Diag &d = diag();
  std::lock_guard<std::mutex> lock(d.mutex);
  return d.lines;
}

void clear_diag() {
  Diag &d = diag();
  std::lock_guard<std::mutex> lock(d.mutex);
  d.lines.clear();
}

void set_diag_echo(bool echo) {
  Diag &d = diag();
  std::lock_guard<std::mutex> lock(d.mutex);
  d.echo = echo;
}

void set_diag_record(bool record) {
  Diag &d = diag();
  std::lock_guard<std::mutex> lock(d.mutex);
  d.record = record;
}

void set_diag_init_ok(bool ok) {
  Diag &d = diag();
  std::lock_guard<std::mutex> lock(d.mutex);
  d.init_ok = ok;
}

int diag_init_calls() {
  Diag &d = diag();
  std::lock_guard<std::mutex> lock(d.mutex);
  return d.init_calls;
}

}  // namespace vornsim

using namespace vornsim;

extern "C" {

__attribute__((visibility("default"))) int Diag_LSM_Init(uint8_t *pIEnv) {
  (void)pIEnv;
  Diag &d = diag();
  std::lock_guard<std::mutex> lock(d.mutex);
  ++d.init_calls;
  return d.init_ok ? 1 : 0;
}

__attribute__((visibility("default"))) void msg_sprintf(const msg_const_type *const_blk, ...) {
  va_list args;
  va_start(args, const_blk);
  int pid = va_arg(args, int);
  const char *func = va_arg(args, const char *);
  const char *text = va_arg(args, const char *);
  va_end(args);
  DiagLine line{const_blk->desc.line, const_blk->desc.ss_id, const_blk->desc.ss_mask,
                const_blk->fmt != nullptr ? const_blk->fmt : "",
                const_blk->fname != nullptr ? const_blk->fname : "", pid,
                func != nullptr ? func : "", text != nullptr ? text : ""};
  Diag &d = diag();
  std::lock_guard<std::mutex> lock(d.mutex);
  if (d.echo)
    std::fprintf(stderr, "diag %s:%d %s(): %s", line.file.c_str(), line.line, line.func.c_str(),
                 line.text.c_str());
  if (d.record) d.lines.push_back(std::move(line));
}

}  // extern "C"
