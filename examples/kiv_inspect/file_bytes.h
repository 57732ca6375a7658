// A file on disk, of which no more is read than is asked for.
//
// Representation. A block of memory of the file's size, and a bit for each of its pieces that tells whether it was
// read. Systems give memory of that size without taking it before it is written to, so that it costs little. A mapping
// of the file would cost as little, but a file that becomes shorter under one ends the process, and on Windows nobody
// could replace the file meanwhile.
// Cost. A piece is read once, and pieces that are asked for together are read together.
#ifndef KIV_INSPECT_FILE_BYTES_H
#define KIV_INSPECT_FILE_BYTES_H

#include <cstdio>

#include "examples/kiv_inspect/file_view.h"
#include "examples/kiv_inspect/status.h"
#include "kiv_allocator.h"

namespace kiv::inspect {

/// When a file is read: as its parts are asked for, or at once, after which changes of the file are not seen.
enum class Reading { on_demand, at_once };

class FileBytes final : private FileSource {
 public:
  /// REQUIRES: the errors outlive this.
  explicit FileBytes(const Errors &errors) : errors_(errors) {}
  ~FileBytes() { close(); }
  FileBytes(const FileBytes &) = delete;
  FileBytes &operator=(const FileBytes &) = delete;

  /// Memory comes from the allocator and is not given back. The library's sizes have 32 bits, and so files above
  /// 4 GiB - 1 are refused. To be called once.
  Status open(const char *path, KIV_ALLOCATOR *allocator, Reading reading);

  /// The file, whose parts are read as long as this lives.
  FileView view() { return {ByteView(bytes_, size_, ByteOrder::little), this}; }

  /// The first failure to read a part that was asked for. Every later part that was not read before fails, too.
  Status status() const { return status_; }

 private:
  static constexpr uint32_t kPieceSize = 1u << 15;

  bool load(uint32_t offset, uint32_t size) override;
  Status measure();
  Status read(uint32_t offset, uint32_t size);
  void close();
  bool has(uint32_t piece) const { return (pieces_[piece / 8] >> piece % 8 & 1) != 0; }

  const Errors &errors_;
  std::FILE *file_ = nullptr;  // null: there is nothing more to read
  uint8_t *bytes_ = nullptr;
  uint32_t size_ = 0;
  uint8_t *pieces_ = nullptr;  // bits
  Status status_;
};

}  // namespace kiv::inspect

#endif
