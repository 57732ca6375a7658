// KIV_LAYOUT_32(condition): asserts a public record's layout on the 32-bit targets, where it must never move. Elsewhere
// the order of the fields is the same and pointers are wider.
#ifndef KIV_BASE_RECORD_LAYOUT_H
#define KIV_BASE_RECORD_LAYOUT_H

#include <cstddef>

#define KIV_LAYOUT_32(condition) static_assert(sizeof(void *) != 4 || (condition), #condition)

#endif
