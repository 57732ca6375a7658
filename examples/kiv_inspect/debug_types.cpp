#include "examples/kiv_inspect/debug_types.h"

#include "examples/kiv_inspect/dwarf_codes.h"

namespace kiv::inspect {
namespace {

// Entries that refer to each other in a circle come to an end here.
constexpr int kMostSteps = 64;

ValueType::Kind kind_of(uint64_t encoding) {
  switch (encoding) {
    case dwarf::kFloat:
      return ValueType::floating;
    case dwarf::kSigned:
    case dwarf::kSignedChar:
      return ValueType::signed_integer;
    case dwarf::kAddressEncoding:
    case dwarf::kBoolean:
    case dwarf::kUnsigned:
    case dwarf::kUnsignedChar:
    case dwarf::kUtf:
    case dwarf::kUcs:
    case dwarf::kAscii:
      return ValueType::unsigned_integer;
    default:
      return ValueType::other;
  }
}

/// What an entry says by its own encoding and size.
Status describe(DebugInfo &info, const Unit &unit, const Entry &entry, ValueType *type) {
  *type = {kind_of(entry.encoding.number.lo), entry.byte_size.number.lo, nullptr};
  if (type->kind != ValueType::floating) return {};
  std::string_view name;
  const Status status = info.text(unit, entry.name, &name);
  type->format = float_format_of_type(name, type->size, info.sections().x87, info.sections().double_pairs);
  if (type->format == nullptr) type->kind = ValueType::other;
  return status;
}

/// Another name for a type, or a type with a qualifier.
bool stands_for_another(uint64_t tag) {
  switch (tag) {
    case dwarf::kTypedef:
    case dwarf::kSubrangeType:
    case dwarf::kConstType:
    case dwarf::kPackedType:
    case dwarf::kVolatileType:
    case dwarf::kRestrictType:
    case dwarf::kSharedType:
    case dwarf::kAtomicType:
    case dwarf::kImmutableType:
    case dwarf::kEnumerationType:
      return true;
    default:
      return false;
  }
}

}  // namespace

Status read_value_type(DebugInfo &info, const Unit &unit, const FormValue &reference, ValueType *type) {
  *type = {};
  EntryPlace place = {&unit, 0};
  FormValue next = reference;
  for (int step = 0; next && step < kMostSteps; ++step) {
    const Unit &from = *place.unit;
    Status status = info.find(from, next, &place);
    if (!status.ok() || place.unit == nullptr) return status;
    Entry entry;
    status = info.read_entry(*place.unit, place.offset, &entry);
    if (!status.ok()) return status;
    if (entry.tag == dwarf::kBaseType) return describe(info, *place.unit, entry, type);
    if (entry.tag == dwarf::kPointerType || entry.tag == dwarf::kReferenceType ||
        entry.tag == dwarf::kRvalueReferenceType) {
      const uint64_t size = entry.byte_size ? entry.byte_size.number.lo : place.unit->format.address_size;
      *type = {ValueType::unsigned_integer, size, nullptr};
      return {};
    }
    if (!stands_for_another(entry.tag)) {
      type->kind = ValueType::other;
      return {};
    }
    if (!entry.type && entry.encoding) return describe(info, *place.unit, entry, type);
    // A declaration may have its definition in a type unit.
    next = entry.type ? entry.type : entry.signature;
  }
  return {};
}

Status read_enumeration_type(DebugInfo &info, const Unit &unit, const Entry &enumeration, ValueType *type) {
  if (enumeration.type) return read_value_type(info, unit, enumeration.type, type);
  *type = {};
  return enumeration.encoding ? describe(info, unit, enumeration, type) : Status{};
}

Status read_declaration(DebugInfo &info, const Unit &unit, const Entry &entry, Declaration *declaration) {
  *declaration = {};
  EntryPlace place = {&unit, 0};
  Entry current = entry;
  for (int step = 0; step < kMostSteps; ++step) {
    if (declaration->name.empty()) {
      const Status status = info.text(*place.unit, current.name, &declaration->name);
      if (!status.ok()) return status;
    }
    if (!declaration->type) {
      declaration->type = current.type;
      declaration->type_unit = place.unit;
    }
    FormValue next = current.completed ? current.completed : current.origin;
    // A declaration may have its name in a type unit.
    if (!next && declaration->name.empty()) next = current.signature;
    if (!next || (!declaration->name.empty() && declaration->type)) break;
    const Unit &from = *place.unit;
    Status status = info.find(from, next, &place);
    if (!status.ok() || place.unit == nullptr) return status;
    status = info.read_entry(*place.unit, place.offset, &current);
    if (!status.ok()) return status;
  }
  return {};
}

}  // namespace kiv::inspect
