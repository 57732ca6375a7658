#include <cstdlib>

#include "os/platform.h"

namespace kiv::os {

// The address is read from a volatile so that the compiler cannot see that it is null: it would put a trap instruction
// there, which ends the process with another signal.
#if defined(__clang__) || defined(__GNUC__)
__attribute__((no_sanitize("undefined", "address")))
#endif
void crash() {
  volatile uint32_t *volatile null = nullptr;
  volatile uint32_t *word = null;
  *word = *word + 1;  // NOLINT(clang-analyzer-core.NullDereference)
  std::abort();       // on a machine where address 0 can be written
}

}  // namespace kiv::os
