// Holds an allocator's mutex for the rest of the scope, if the allocator is a locked one. A failing mutex is ignored:
// the operation goes on, as it has no way to report it.
#ifndef KIV_FOUNDATION_LOCKED_SCOPE_H
#define KIV_FOUNDATION_LOCKED_SCOPE_H

#include "kiv_mutex.h"

namespace kiv {

class LockedScope {
 public:
  LockedScope(kiv_mutex *mutex, bool locked) : held_(locked ? mutex : nullptr) {
    if (held_ != nullptr) (void)kiv_mutex_take(held_);
  }
  ~LockedScope() {
    if (held_ != nullptr) (void)kiv_mutex_give(held_);
  }
  LockedScope(const LockedScope &) = delete;
  LockedScope &operator=(const LockedScope &) = delete;

 private:
  kiv_mutex *held_;
};

}  // namespace kiv

#endif
