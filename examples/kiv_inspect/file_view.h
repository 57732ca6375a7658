// A file, of which readers cut out the parts that they want.
//
// A part is in memory when it is there at all. What nobody asks for is not read.
#ifndef KIV_INSPECT_FILE_VIEW_H
#define KIV_INSPECT_FILE_VIEW_H

#include "examples/kiv_inspect/byte_view.h"

namespace kiv::inspect {

/// Brings parts of a file into the memory that a view shows.
class FileSource {
 public:
  /// False when that cannot be done; the source remembers why. REQUIRES: offset + size does not go beyond the view.
  virtual bool load(uint32_t offset, uint32_t size) = 0;

 protected:
  ~FileSource() = default;
};

class FileView {
 public:
  FileView() = default;

  /// A file that is in memory.
  FileView(ByteView bytes) : bytes_(bytes) {}

  /// A file that a source brings into these bytes.
  FileView(ByteView bytes, FileSource *source) : bytes_(bytes), source_(source) {}

  uint32_t size() const { return bytes_.size(); }
  ByteOrder order() const { return bytes_.order(); }
  FileView in_order(ByteOrder order) const { return {bytes_.in_order(order), source_}; }

  /// The bytes from offset on, or none when they are not all there or cannot be read: whoever has the source tells the
  /// one from the other. Any two numbers may be asked for.
  std::optional<ByteView> part(uint64_t offset, uint64_t size) const {
    const auto bytes = bytes_.part(offset, size);
    if (!bytes || source_ == nullptr || source_->load(static_cast<uint32_t>(offset), bytes->size())) return bytes;
    return std::nullopt;
  }

  /// 0 when it is not there.
  uint64_t number(Field field) const {
    return part(field.offset, field.width).value_or(ByteView()).number({0, field.width});
  }

  uint16_t u16(uint32_t offset) const { return static_cast<uint16_t>(number({offset, 2})); }
  uint32_t u32(uint32_t offset) const { return static_cast<uint32_t>(number({offset, 4})); }

 private:
  ByteView bytes_;
  FileSource *source_ = nullptr;  // null: everything is in memory
};

}  // namespace kiv::inspect

#endif
