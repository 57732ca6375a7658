#include "examples/kiv_inspect/constant_reader.h"

#include <algorithm>
#include <new>
#include <optional>

#include "examples/kiv_inspect/debug_info.h"
#include "examples/kiv_inspect/debug_types.h"
#include "examples/kiv_inspect/dwarf_codes.h"

namespace kiv::inspect {
namespace {

// Entries nest as deep as the blocks and scopes of a program's text.
constexpr uint32_t kMostLevels = 4096;
constexpr uint32_t kLongestName = 1u << 16;
// The names in front of a name are repeated with each; real ones are a small part of the file.
constexpr uint32_t kNameBytesPerByte = 64;

/// The kind of constant that an entry is, if it is one.
std::optional<ConstantKind> kind_of(const Entry &entry) {
  if (!entry.const_value) return std::nullopt;
  switch (entry.tag) {
    case dwarf::kEnumerator:
      return ConstantKind::enumerator;
    case dwarf::kConstant:
      return ConstantKind::constant;
    case dwarf::kVariable:
      return ConstantKind::variable;
    case dwarf::kMember:
      return ConstantKind::member;
    default:
      return std::nullopt;
  }
}

bool is_scope(uint64_t tag) {
  switch (tag) {
    case dwarf::kNamespace:
    case dwarf::kModule:
    case dwarf::kClassType:
    case dwarf::kStructureType:
    case dwarf::kUnionType:
    case dwarf::kInterfaceType:
    case dwarf::kEnumerationType:
      return true;
    default:
      return false;
  }
}

/// An entry whose children are being read.
struct Level {
  std::string_view name;  // of a scope
  ValueType enumerators;  // of an enumeration
};

/// The walk through all entries. It goes down and up by a stack of its own.
class Walk {
 public:
  Walk(ByteView file, ConstantTable &table)
      : table_(table),
        info_(table.errors(), file.size()),
        name_bytes_left_(uint64_t{file.size()} * kNameBytesPerByte) {}

  Status run(const DebugSections &sections) {
    KIV_ALLOCATOR *pool = table_.pool();
    levels_ = static_cast<Level *>(pool->alloc(pool, kMostLevels * sizeof(Level)));
    name_ = static_cast<char *>(pool->alloc(pool, kLongestName));
    if (levels_ == nullptr || name_ == nullptr) return table_.errors().out_of_memory();
    Status status = info_.open(sections, pool);
    for (const Unit *unit = info_.first_unit(); status.ok() && unit != nullptr; unit = unit->next) {
      status = table_.errors().add(walk_unit(*unit),
                                   "the unit at offset 0x[0_u32x] of its debug information is damaged[|]", unit->start);
    }
    return status;
  }

 private:
  Status walk_unit(const Unit &unit) {
    depth_ = 0;
    Status status;
    for (uint32_t at = unit.first; status.ok() && at < unit.bytes.size();) {
      Entry entry;
      status = info_.read_entry(unit, at, &entry);
      if (!status.ok()) break;
      at = entry.next;
      if (entry.tag == 0) {
        depth_ -= depth_ > 0;
        continue;
      }
      if (const auto kind = kind_of(entry)) status = add(unit, entry, *kind);
      if (status.ok() && entry.has_children) status = enter(unit, entry);
    }
    return status;
  }

  Status enter(const Unit &unit, const Entry &entry) {
    if (depth_ == kMostLevels)
      return table_.errors().failure("the entries of its debug information are nested too deeply[|]");
    Level &level = *new (&levels_[depth_++]) Level;
    if (!is_scope(entry.tag)) return {};
    Declaration declaration;
    Status status = read_declaration(info_, unit, entry, &declaration);
    level.name = declaration.name;
    if (status.ok() && entry.tag == dwarf::kEnumerationType) {
      status = read_enumeration_type(info_, unit, entry, &level.enumerators);
    }
    return status;
  }

  Status add(const Unit &unit, const Entry &entry, ConstantKind kind) {
    Declaration declaration;
    Status status = read_declaration(info_, unit, entry, &declaration);
    if (!status.ok() || declaration.name.empty()) return status;
    ValueType type;
    if (kind != ConstantKind::enumerator) {
      status = read_value_type(info_, *declaration.type_unit, declaration.type, &type);
    } else if (depth_ > 0) {
      type = levels_[depth_ - 1].enumerators;
    }
    Constant constant = {nullptr, kind, {}, {}};
    if (!status.ok()) return status;
    if (!decode_value(entry.const_value, type, unit.bytes.order(), &constant.value)) {
      constant.value = {ConstantValue::text, {}, nullptr, {}};
      status = info_.text(unit, entry.const_value, &constant.value.contents);
      if (constant.value.contents.data() == nullptr) return status;  // a value of another kind: none to be shown
    }
    if (status.ok()) status = spell(declaration.name, &constant.name);
    return status.ok() ? table_.add(constant) : status;
  }

  /// The name with those of the scopes around it.
  Status spell(std::string_view name, std::string_view *whole) {
    uint32_t size = 0;
    const auto append = [&](std::string_view part) {
      if (part.size() > kLongestName - size) return false;
      std::copy(part.begin(), part.end(), name_ + size);
      size += static_cast<uint32_t>(part.size());
      return true;
    };
    bool fits = true;
    for (uint32_t i = 0; i < depth_; ++i) {
      if (!levels_[i].name.empty()) fits = fits && append(levels_[i].name) && append("::");
    }
    if (!fits || !append(name)) return table_.errors().failure("a name in its debug information is too long[|]");
    if (size + depth_ > name_bytes_left_) return table_.errors().failure("its names share too many bytes[|]");
    name_bytes_left_ -= size + depth_;
    *whole = {name_, size};
    return {};
  }

  ConstantTable &table_;
  DebugInfo info_;
  Level *levels_ = nullptr;
  uint32_t depth_ = 0;
  char *name_ = nullptr;
  uint64_t name_bytes_left_;
};

}  // namespace

Status read_constants(ByteView file, ConstantTable &table) {
  DebugSections sections;
  Status status = find_debug_sections(table.errors(), file, table.pool(), &sections);
  if (!status.ok()) return status;
  Walk walk(file, table);
  return walk.run(sections);
}

}  // namespace kiv::inspect
