#include "examples/kiv_inspect/symbol_names.h"

#include <algorithm>
#include <cstring>

namespace kiv::inspect {
namespace {

constexpr uint32_t kFieldSize = 8;  // of COFF's records

}  // namespace

Status SymbolNames::read(ByteView table, uint64_t offset, std::string_view *name) {
  const auto text = table.rest(offset);
  if (!text || text->size() == 0) return errors_.failure("a name lies outside the string table[|]");
  const auto limit = static_cast<size_t>(std::min<uint64_t>(text->size(), bytes_left_));
  const void *end = limit > 0 ? std::memchr(text->data(), 0, limit) : nullptr;
  if (end == nullptr) {
    return limit == text->size() ? errors_.failure("a name has no end[|]")
                                 : errors_.failure("its names share too many bytes[|]");
  }
  const auto size = static_cast<size_t>(static_cast<const uint8_t *>(end) - text->data());
  bytes_left_ -= size + 1;
  *name = text->text().substr(0, size);
  return {};
}

Status SymbolNames::read_field(ByteView field, std::string_view *name) {
  if (field.size() > kFieldSize) return read(field, 0, name);
  *name = field.text().substr(0, field.text().find('\0'));
  return {};
}

}  // namespace kiv::inspect
