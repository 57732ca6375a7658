#include "examples/kiv_inspect/unit_header.h"

#include "examples/kiv_inspect/dwarf_codes.h"

namespace kiv::inspect {

Status read_unit_header(const Errors &errors, ByteView section, uint32_t offset, bool is_in_types, UnitHeader *header) {
  *header = {};
  ByteReader reader(section, offset);
  uint64_t length = reader.number(4);
  header->format.offset_size = length == 0xFFFFFFFF ? 8 : 4;
  if (length == 0xFFFFFFFF) {
    length = reader.number(8);
  } else if (length >= 0xFFFFFFF0) {
    return errors.failure("a unit's DWARF format is unknown[|]");
  }
  const auto unit = section.part(0, reader.at() + (length <= section.size() ? length : section.size() + uint64_t{1}));
  if (!reader.ok() || !unit) return errors.failure("a unit of its debug information is cut off[|]");
  header->end = unit->size();

  reader = ByteReader(*unit, reader.at());
  header->format.version = static_cast<uint16_t>(reader.number(2));
  const uint32_t version = header->format.version;
  if (reader.ok() && (version < 2 || version > 5)) return errors.failure("a unit's DWARF version is unknown[|]");
  uint64_t type = is_in_types ? dwarf::kTypeUnit : dwarf::kCompile;
  if (version == 5) type = reader.number(1);
  if (version < 5) header->abbreviations = reader.number(header->format.offset_size);
  header->format.address_size = static_cast<uint8_t>(reader.number(1));
  if (version == 5) header->abbreviations = reader.number(header->format.offset_size);
  if (type == dwarf::kSkeleton || type == dwarf::kSplitCompile || type == dwarf::kSplitType)
    return errors.failure(kSplitDebugInfo);
  header->has_type = type == dwarf::kTypeUnit;
  if (header->has_type) {
    header->signature = reader.number(8);
    header->type_offset = reader.number(header->format.offset_size);
  }
  header->first = reader.at();
  if (!reader.ok()) return errors.failure("a unit of its debug information is cut off[|]");
  if (type != dwarf::kTypeUnit && type != dwarf::kCompile && type != dwarf::kPartial) {
    return errors.failure("a unit's type is unknown[|]");
  }
  if (header->format.address_size < 1 || header->format.address_size > 8)
    return errors.failure("a unit's address size is unknown[|]");
  return {};
}

}  // namespace kiv::inspect
