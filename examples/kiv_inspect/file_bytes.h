// The bytes of a whole file in memory.
#ifndef KIV_INSPECT_FILE_BYTES_H
#define KIV_INSPECT_FILE_BYTES_H

#include "examples/kiv_inspect/byte_view.h"
#include "examples/kiv_inspect/status.h"
#include "kiv_allocator.h"

namespace kiv::inspect {

/// Reads a file into one block of the allocator's, which has to be large enough for it: the library's sizes have 32
/// bits, and so files above 4 GiB - 1 are refused.
Status read_file(const Errors &errors, const char *path, KIV_ALLOCATOR *allocator, ByteView *bytes);

}  // namespace kiv::inspect

#endif
