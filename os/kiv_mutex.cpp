#include "kiv_mutex.h"

#include "base/alias.h"
#include "kiv_semaphore.h"
#include "os/handle_in.h"
#include "os/platform.h"
#include "os/thread_message.h"

namespace os = kiv::os;

int kiv_mutex_new(kiv_mutex *mutex) {
  if (mutex == nullptr) return kiv_mutex_take(nullptr);  // fails, and the system has a reason
  const os::Handle made = os::mutex_create();
  if (made == nullptr) return 1;
  *mutex = made;
  return 0;
}

// Flattened: an uncontended mutex takes little more time than the calls to it.
[[gnu::flatten]] int kiv_mutex_take(kiv_mutex *mutex) { return os::mutex_lock(os::handle_in(mutex)); }
[[gnu::flatten]] int kiv_mutex_give(kiv_mutex *mutex) { return os::mutex_unlock(os::handle_in(mutex)); }
int kiv_mutex_delete(kiv_mutex *mutex) { return os::lock_close(os::handle_in(mutex)) ? 0 : 1; }

int kiv_mutex_create(kiv_mutex *mutex) { return kiv::fatal_unless(kiv_mutex_new(mutex) == 0); }
int kiv_mutex_lock(kiv_mutex *mutex) { return kiv::fatal_unless(os::mutex_lock(os::handle_in(mutex)) == 0); }
int kiv_mutex_unlock(kiv_mutex *mutex) { return kiv::fatal_unless(os::mutex_unlock(os::handle_in(mutex)) == 0); }
int kiv_mutex_destroy(kiv_mutex *mutex) { return kiv::fatal_unless(os::lock_close(os::handle_in(mutex))); }

// Mutexes and semaphores are handles of one kind: the system closes both in the same way.
KIV_ALIAS(kiv_mutex_recursive_new, kiv_mutex_new);
KIV_ALIAS(kiv_semaphore_delete, kiv_mutex_delete);
KIV_ALIAS(kiv_sema_destroy, kiv_mutex_destroy);
