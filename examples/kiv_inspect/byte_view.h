// A range of a file's bytes, with bounds-checked reads in the file's byte order.
//
// A reader first cuts out the record that it wants with part(), which is where it notices a damaged file, and then
// reads the record's fields. A read that is not wholly inside the view gives 0, so no read has to be checked for
// safety's sake.
#ifndef KIV_INSPECT_BYTE_VIEW_H
#define KIV_INSPECT_BYTE_VIEW_H

#include <bit>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string_view>

namespace kiv::inspect {

enum class ByteOrder { little, big };

/// Where a number stands in a record: `width` bytes, 1 to 8.
struct Field {
  uint32_t offset;
  uint32_t width;
};

class ByteView {
 public:
  ByteView() = default;
  ByteView(const uint8_t *data, uint32_t size, ByteOrder order) : data_(data), size_(size), order_(order) {}

  const uint8_t *data() const { return data_; }
  uint32_t size() const { return size_; }
  std::string_view text() const { return {reinterpret_cast<const char *>(data_), size_}; }
  ByteOrder order() const { return order_; }
  ByteView in_order(ByteOrder order) const { return {data_, size_, order}; }

  /// The bytes from offset on, or none when they are not all there. Any two numbers may be asked for.
  std::optional<ByteView> part(uint64_t offset, uint64_t size) const {
    if (!contains(offset, size)) return std::nullopt;
    return ByteView(data_ + offset, static_cast<uint32_t>(size), order_);
  }

  /// The bytes from offset to the end, or none when offset lies behind the end.
  std::optional<ByteView> rest(uint64_t offset) const {
    return offset <= size_ ? part(offset, size_ - offset) : std::nullopt;
  }

  uint64_t number(Field field) const {
    if (!contains(field.offset, field.width)) return 0;
    if (order_ == kHostOrder) {
      switch (field.width) {
        case 1:
          return data_[field.offset];
        case 2:
          return load<uint16_t>(field.offset);
        case 4:
          return load<uint32_t>(field.offset);
        case 8:
          return load<uint64_t>(field.offset);
        default:
          break;
      }
    }
    uint64_t value = 0;
    for (uint32_t i = 0; i < field.width; ++i) {
      const uint32_t at = order_ == ByteOrder::big ? i : field.width - 1 - i;
      value = value << 8 | data_[field.offset + at];
    }
    return value;
  }

  uint8_t u8(uint32_t offset) const { return static_cast<uint8_t>(number({offset, 1})); }
  uint16_t u16(uint32_t offset) const { return static_cast<uint16_t>(number({offset, 2})); }
  uint32_t u32(uint32_t offset) const { return static_cast<uint32_t>(number({offset, 4})); }

 private:
  static constexpr ByteOrder kHostOrder = std::endian::native == std::endian::big ? ByteOrder::big : ByteOrder::little;

  template <class Number>
  Number load(uint32_t offset) const {
    Number number;
    std::memcpy(&number, data_ + offset, sizeof number);
    return number;
  }

  bool contains(uint64_t offset, uint64_t size) const { return offset <= size_ && size <= size_ - offset; }

  const uint8_t *data_ = nullptr;
  uint32_t size_ = 0;
  ByteOrder order_ = ByteOrder::little;
};

}  // namespace kiv::inspect

#endif
