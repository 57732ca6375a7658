#include "kiv_semaphore.h"

#include "os/handle_in.h"
#include "os/platform.h"
#include "os/thread_message.h"

namespace os = kiv::os;

static_assert(KIV_SEMAPHORE_MAXIMUM == os::kSemaphoreMaximum);

int kiv_semaphore_new(kiv_semaphore *semaphore, int32_t initial) {
  if (semaphore == nullptr) return kiv_semaphore_wait(nullptr);  // fails, and the system has a reason
  *semaphore = os::semaphore_create(initial);
  return *semaphore != nullptr ? 0 : 1;
}

int kiv_semaphore_wait(kiv_semaphore *semaphore) { return os::semaphore_wait(os::handle_in(semaphore)) ? 0 : 1; }

int kiv_semaphore_trywait(kiv_semaphore *semaphore) {
  switch (os::semaphore_try_wait(os::handle_in(semaphore))) {
    case os::TryWait::taken:
      return 0;
    case os::TryWait::would_block:
      return 1;
    default:
      return -1;
  }
}

int kiv_semaphore_signal(kiv_semaphore *semaphore) { return os::semaphore_post(os::handle_in(semaphore)) ? 0 : 1; }

int kiv_sema_create(kiv_semaphore *semaphore, int32_t initial) {
  return kiv::fatal_unless(kiv_semaphore_new(semaphore, initial) == 0);
}

int kiv_sema_wait(kiv_semaphore *semaphore) { return kiv::fatal_unless(os::semaphore_wait(os::handle_in(semaphore))); }

int kiv_sema_trywait(kiv_semaphore *semaphore) {
  const int result = kiv_semaphore_trywait(semaphore);
  kiv::fatal_unless(result >= 0);
  return result;
}

int kiv_sema_post(kiv_semaphore *semaphore) { return kiv::fatal_unless(os::semaphore_post(os::handle_in(semaphore))); }
