// A mutex of the library's that is taken as long as a block lasts.
#ifndef KIV_INSPECT_MUTEX_LOCK_H
#define KIV_INSPECT_MUTEX_LOCK_H

#include "kiv_mutex.h"

namespace kiv::inspect {

/// REQUIRES: the mutex was made, and outlives this.
class MutexLock {
 public:
  explicit MutexLock(kiv_mutex &mutex) : mutex_(mutex) { (void)kiv_mutex_take(&mutex_); }
  ~MutexLock() { (void)kiv_mutex_give(&mutex_); }
  MutexLock(const MutexLock &) = delete;
  MutexLock &operator=(const MutexLock &) = delete;

 private:
  kiv_mutex &mutex_;
};

}  // namespace kiv::inspect

#endif
