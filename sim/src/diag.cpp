// The platform's diag sink (libdiag) as the simulated modem provides it:
// every line the library hands over is kept for the tests, and echoed to
// standard error on request.
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <chrono>
#include <mutex>

#include <vornpal/platform/diag.h>
#include <vornsim/sim.h>

#include "engine.h"
#include "ring.h"

namespace vornsim {
namespace {

struct Diag {
  std::mutex mutex;
  Ring<DiagLine> lines{kDiagRecord};
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
  return d.lines.items();
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
  auto or_empty = [](const char *s) { return s != nullptr ? s : ""; };
  Diag &d = diag();
  std::lock_guard<std::mutex> lock(d.mutex);
  if (d.echo)
    std::fprintf(stderr, "diag %s:%d %s(): %s", or_empty(const_blk->fname), const_blk->desc.line,
                 or_empty(func), or_empty(text));
  if (!d.record) return;
  // Filled in place: the slot's strings keep their storage.
  if (DiagLine *line = d.lines.next()) {
    line->line = const_blk->desc.line;
    line->ss_id = const_blk->desc.ss_id;
    line->mask = const_blk->desc.ss_mask;
    line->fmt = or_empty(const_blk->fmt);
    line->file = or_empty(const_blk->fname);
    line->pid = pid;
    line->func = or_empty(func);
    line->text = or_empty(text);
    line->steady_ns = std::chrono::steady_clock::now().time_since_epoch().count();
  }
}

}  // extern "C"
