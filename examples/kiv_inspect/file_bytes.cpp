#include "examples/kiv_inspect/file_bytes.h"

#include <algorithm>

namespace kiv::inspect {
namespace {

/// The C runtime's own `long` is too short for an offset.
bool seek(std::FILE *file, int64_t offset, int origin) {
#ifdef _WIN32
  return _fseeki64(file, offset, origin) == 0;
#else
  return fseeko(file, offset, origin) == 0;
#endif
}

int64_t position(std::FILE *file) {
#ifdef _WIN32
  return _ftelli64(file);
#else
  return ftello(file);
#endif
}

constexpr char kUnreadable[] = "it cannot be read: [0_S][|]";

}  // namespace

Status FileBytes::open(const char *path, KIV_ALLOCATOR *allocator, Reading reading) {
  file_ = std::fopen(path, "rb");
  if (file_ == nullptr)
    return errors_.system_failure({"it cannot be opened: [0_S][|]", U"Does the file exist, and may you read it?"});
  // What is read goes straight to its place.
  (void)std::setvbuf(file_, nullptr, _IONBF, 0);
  Status status = measure();
  if (!status.ok() || size_ == 0) return status;
  bytes_ = static_cast<uint8_t *>(allocator->alloc(allocator, size_));
  pieces_ = static_cast<uint8_t *>(allocator->calloc(allocator, size_ / kPieceSize / 8 + 1, 1));
  if (bytes_ == nullptr || pieces_ == nullptr) return errors_.out_of_memory();
  if (reading == Reading::at_once) {
    (void)load(0, size_);
    close();
  }
  return status_;
}

Status FileBytes::measure() {
  const int64_t size = seek(file_, 0, SEEK_END) ? position(file_) : -1;
  if (size < 0 || !seek(file_, 0, SEEK_SET)) return errors_.system_failure(kUnreadable);
  // A folder can be opened on some systems; its first byte can be read on none.
  if (std::getc(file_) == EOF && std::ferror(file_) != 0) return errors_.system_failure(kUnreadable);
  if (size > int64_t{UINT32_MAX}) return errors_.failure("it has more than 4 GiB - 1 bytes[|]");
  size_ = static_cast<uint32_t>(size);
  return {};
}

void FileBytes::close() {
  if (file_ != nullptr) (void)std::fclose(file_);
  file_ = nullptr;
}

bool FileBytes::load(uint32_t offset, uint32_t size) {
  if (size == 0) return true;
  const uint32_t last = (offset + (size - 1)) / kPieceSize;
  for (uint32_t piece = offset / kPieceSize; piece <= last; ++piece) {
    if (has(piece)) continue;
    if (!status_.ok()) return false;
    uint32_t end = piece + 1;
    while (end <= last && !has(end)) ++end;
    const uint32_t start = piece * kPieceSize;
    status_ = read(start, static_cast<uint32_t>(std::min<uint64_t>(size_, uint64_t{end} * kPieceSize)) - start);
    if (!status_.ok()) return false;
    for (; piece < end; ++piece) pieces_[piece / 8] = static_cast<uint8_t>(pieces_[piece / 8] | 1u << piece % 8);
  }
  return true;
}

Status FileBytes::read(uint32_t offset, uint32_t size) {
  if (!seek(file_, offset, SEEK_SET)) return errors_.system_failure(kUnreadable);
  if (std::fread(bytes_ + offset, 1, size, file_) == size) return {};
  if (std::ferror(file_) != 0) return errors_.system_failure(kUnreadable);
  return errors_.failure("it has become shorter since it was opened[|]");
}

}  // namespace kiv::inspect
