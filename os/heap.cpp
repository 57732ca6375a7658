#include <cstdlib>

#include "os/platform.h"

namespace kiv::os {

void *heap_alloc(size_t size) { return std::malloc(size); }
void *heap_calloc(size_t count, size_t size) { return std::calloc(count, size); }
void *heap_realloc(void *block, size_t size) { return std::realloc(block, size); }
void heap_free(void *block) { std::free(block); }

}  // namespace kiv::os
