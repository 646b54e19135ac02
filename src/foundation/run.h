// Running things off the library's own code path: a shell command through
// vorn_system_call, and a detached worker thread.
#pragma once

#include <cstddef>

namespace vorn {

// The command's status as vorn_system_call gives it.
int run(const char *command);

// Starts fn(arg) on a detached thread, with a stack of `stack` bytes (0: the
// default). Attribute failures are only logged: the thread is still tried.
// False when the thread could not be made.
bool start_worker(void *(*fn)(void *), void *arg, size_t stack);

}  // namespace vorn
