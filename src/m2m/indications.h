// Hand-over between the indication handler and the callers that wait for
// the modem's answer to an rmnet action.
#pragma once

#include <semaphore.h>

namespace vorn::m2m {

// Posted for every rmnet state report, before event 0 goes out.
sem_t *ok_sem();

}  // namespace vorn::m2m
