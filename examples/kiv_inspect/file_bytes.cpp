#include "examples/kiv_inspect/file_bytes.h"

#include <cstdio>

namespace kiv::inspect {
namespace {

/// The file's size with the position back at its start, or -1. The C runtime's own `long` is too short for that.
int64_t measure(FILE *file) {
#ifdef _WIN32
  if (_fseeki64(file, 0, SEEK_END) != 0) return -1;
  const int64_t size = _ftelli64(file);
  return _fseeki64(file, 0, SEEK_SET) == 0 ? size : -1;
#else
  if (fseeko(file, 0, SEEK_END) != 0) return -1;
  const int64_t size = ftello(file);
  return fseeko(file, 0, SEEK_SET) == 0 ? size : -1;
#endif
}

Status read_open_file(const Errors &errors, FILE *file, KIV_ALLOCATOR *allocator, ByteView *bytes) {
  const int64_t size = measure(file);
  if (size < 0) return errors.system_failure("it cannot be read: [0_S][|]");
  // A folder can be opened on some systems; its first byte can be read on none.
  if (std::ungetc(std::getc(file), file) == EOF && std::ferror(file) != 0)
    return errors.system_failure("it cannot be read: [0_S][|]");
  if (size > int64_t{UINT32_MAX}) return errors.failure("it has more than 4 GiB - 1 bytes[|]");
  if (size == 0) {
    *bytes = ByteView();
    return {};
  }
  auto *block = static_cast<uint8_t *>(allocator->alloc(allocator, static_cast<uint32_t>(size)));
  if (block == nullptr) return errors.out_of_memory();
  // A file that shrank meanwhile is as good as one that was shorter from the start.
  const size_t count = std::fread(block, 1, static_cast<size_t>(size), file);
  if (std::ferror(file) != 0) return errors.system_failure("it cannot be read: [0_S][|]");
  *bytes = ByteView(block, static_cast<uint32_t>(count), ByteOrder::little);
  return {};
}

}  // namespace

Status read_file(const Errors &errors, const char *path, KIV_ALLOCATOR *allocator, ByteView *bytes) {
  FILE *file = std::fopen(path, "rb");
  if (file == nullptr)
    return errors.system_failure({"it cannot be opened: [0_S][|]", U"Does the file exist, and may you read it?"});
  const Status status = read_open_file(errors, file, allocator, bytes);
  (void)std::fclose(file);
  return status;
}

}  // namespace kiv::inspect
