#include "examples/kiv_inspect/constant_reader.h"

#include <algorithm>
#include <optional>

#include "examples/kiv_inspect/debug_info.h"
#include "examples/kiv_inspect/debug_types.h"
#include "examples/kiv_inspect/debug_walk.h"
#include "examples/kiv_inspect/dwarf_codes.h"
#include "examples/kiv_inspect/pool.h"

namespace kiv::inspect {
namespace {

constexpr uint32_t kLongestName = 1u << 16;
// The names in front of a name are repeated with each; real ones are a small part of the file.
constexpr uint32_t kNameBytesPerByte = 64;

/// The kind of constant that an entry with a value is, if it is one.
std::optional<ConstantKind> kind_of(uint64_t tag) {
  switch (tag) {
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

bool wants(const Abbreviation &abbreviation) {
  return (abbreviation.has(AttributeField::const_value) && kind_of(abbreviation.tag)) ||
         (abbreviation.has_children && is_scope(abbreviation.tag)) ||
         (abbreviation.is_declaration && can_be_completed(abbreviation.tag));
}

/// A scope whose children are being read. Most have no constants in them, and are read when the first one turns up.
struct Level {
  uint32_t start;  // of its entry
  bool is_read;    // whether the following are known
  std::string_view name;
  std::optional<std::string_view> around;  // what is in front of it, when that is not in the levels below
  std::optional<std::string_view> inside;  // what is in front of its children, once it is spelled
  ValueType enumerators;                   // of an enumeration
};

class Visitor {
 public:
  Visitor(FileView file, ConstantTable &table)
      : table_(table),
        walk_(file, table.errors(), table.pool(), wants),
        name_bytes_left_(uint64_t{file.size()} * kNameBytesPerByte) {}

  Status run() {
    KIV_ALLOCATOR *pool = table_.pool();
    name_ = static_cast<char *>(pool->alloc(pool, kLongestName));
    return name_ != nullptr && declared_.open(pool) ? walk_.run(*this) : table_.errors().out_of_memory();
  }

  Status visit(const Unit &unit, const EntryHead &head, ByteReader &reader) {
    const Abbreviation &abbreviation = *head.abbreviation;
    const auto kind = abbreviation.has(AttributeField::const_value) ? kind_of(abbreviation.tag) : std::nullopt;
    const bool is_referred = is_referred_to(unit, head);
    Status status;
    if (kind || is_referred) {
      Entry entry;
      status = walk_.info().read_attributes(unit, head, reader, &entry);
      if (status.ok() && is_referred) status = declare(unit, entry);
      if (status.ok() && kind) status = add(unit, entry, *kind);
    } else {
      status = walk_.info().skip_attributes(unit, head, reader);
    }
    if (!status.ok() || !abbreviation.has_children || !is_scope(abbreviation.tag)) return status;
    return walk_.enter({head.start, false, {}, {}, {}, {}});
  }

 private:
  /// What a scope's entry says.
  Status read_level(const Unit &unit, Level *level) {
    if (level->is_read) return {};
    level->is_read = true;
    Entry entry;
    Status status = walk_.info().read_entry(unit, level->start, &entry);
    if (!status.ok()) return status;
    Declaration declaration;
    status = read_declaration(walk_.info(), unit, entry, &declaration);
    level->name = declaration.name;
    if (status.ok()) status = find_scopes(unit, entry, &level->around);
    if (status.ok() && entry.tag == dwarf::kEnumerationType) {
      status = read_enumeration_type(walk_.info(), unit, entry, &level->enumerators);
    }
    return status;
  }

  /// Those around a level that is read are read, too.
  Status read_levels(const Unit &unit) {
    Status status;
    for (uint32_t i = walk_.depth(); status.ok() && i > 0 && !walk_.level(i - 1).is_read; --i) {
      status = read_level(unit, &walk_.level(i - 1));
    }
    return status;
  }

  Status add(const Unit &unit, const Entry &entry, ConstantKind kind) {
    Declaration declaration;
    Status status = read_declaration(walk_.info(), unit, entry, &declaration);
    if (!status.ok() || declaration.name.empty()) return status;
    status = read_levels(unit);
    if (!status.ok()) return status;
    ValueType type;
    if (kind != ConstantKind::enumerator) {
      status = read_value_type(walk_.info(), *declaration.type_unit, declaration.type, &type);
    } else if (const Level *around = walk_.parent(); around != nullptr) {
      type = around->enumerators;
    }
    ConstantValue value;
    if (!status.ok()) return status;
    if (!decode_value(entry.const_value, type, unit.bytes.order(), &value)) {
      value = {ConstantValue::text, {}, nullptr, {}};
      status = walk_.info().text(unit, entry.const_value, &value.contents);
      if (value.contents.data() == nullptr) return status;  // a value of another kind: none to be shown
    }
    std::string_view name;
    std::optional<std::string_view> around;
    if (status.ok()) status = find_scopes(unit, entry, &around);
    if (status.ok()) status = spell(around, declaration.name, &name);
    return status.ok() ? table_.add(kind, name, value) : status;
  }

  /// Keeps what is in front of a declaration's name.
  Status declare(const Unit &unit, const Entry &entry) {
    std::optional<std::string_view> around;
    Status status = find_scopes(unit, entry, &around);
    if (status.ok() && !around) status = spell_scopes(unit, &around);
    if (!status.ok()) return status;
    return declared_.add(unit, entry.start, *around) ? Status{} : table_.errors().out_of_memory();
  }

  /// What is in front of the name of the declaration that an entry completes, or of the type that completes it; none
  /// for other entries.
  Status find_scopes(const Unit &unit, const Entry &entry, std::optional<std::string_view> *around) const {
    const std::string_view *names = nullptr;
    const Status status = declared_.find(walk_.info(), unit, entry, &names);
    if (names != nullptr) *around = *names;
    return status;
  }

  /// The names of the scopes around the current place, in memory that lasts; spelled once for all children of an entry.
  Status spell_scopes(const Unit &unit, std::optional<std::string_view> *names) {
    *names = std::string_view();
    Level *level = walk_.innermost();
    if (level == nullptr) return {};
    if (!level->inside) {
      std::string_view spelled;
      Status status = read_levels(unit);
      if (status.ok()) status = spell({}, {}, &spelled);
      if (!status.ok()) return status;
      level->inside = place_text(table_.pool(), spelled);
      if (level->inside->data() == nullptr) return table_.errors().out_of_memory();
    }
    *names = level->inside;
    return {};
  }

  /// The name with those of the scopes around it, or with the given ones in front. REQUIRES: the levels are read.
  Status spell(const std::optional<std::string_view> &around, std::string_view name, std::string_view *whole) {
    uint32_t size = 0;
    const auto append = [&](std::string_view part) {
      if (part.size() > kLongestName - size) return false;
      std::copy(part.begin(), part.end(), name_ + size);
      size += static_cast<uint32_t>(part.size());
      return true;
    };
    const uint32_t depth = walk_.depth();
    std::string_view front = around.value_or(std::string_view());
    uint32_t first = around ? depth : 0;
    for (uint32_t i = first; i < depth; ++i) {
      if (!walk_.level(i).around) continue;
      front = *walk_.level(i).around;
      first = i;
    }
    bool fits = append(front);
    for (uint32_t i = first; i < depth; ++i) {
      if (!walk_.level(i).name.empty()) fits = fits && append(walk_.level(i).name) && append("::");
    }
    if (!fits || !append(name)) return table_.errors().failure("a name in its debug information is too long[|]");
    if (size + depth > name_bytes_left_) return table_.errors().failure("its names share too many bytes[|]");
    name_bytes_left_ -= size + depth;
    *whole = {name_, size};
    return {};
  }

  ConstantTable &table_;
  EntryWalk<Level> walk_;
  KnownEntries<std::string_view> declared_;  // what is in front of their names
  char *name_ = nullptr;
  uint64_t name_bytes_left_;
};

}  // namespace

Status read_constants(FileView file, ConstantTable &table) { return Visitor(file, table).run(); }

}  // namespace kiv::inspect
