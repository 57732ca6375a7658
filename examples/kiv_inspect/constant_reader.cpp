#include "examples/kiv_inspect/constant_reader.h"

#include <algorithm>
#include <functional>
#include <new>
#include <optional>

#include "examples/kiv_inspect/compare.h"
#include "examples/kiv_inspect/debug_info.h"
#include "examples/kiv_inspect/debug_types.h"
#include "examples/kiv_inspect/dwarf_codes.h"
#include "examples/kiv_inspect/pool.h"

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
  std::string_view name;                   // of a scope
  std::optional<std::string_view> around;  // what is in front of it, when that is not in the levels below
  std::optional<std::string_view> inside;  // what is in front of its children, once it is spelled
  ValueType enumerators;                   // of an enumeration
};

/// What is in front of a declaration's name, and of the names of entries that complete it: these stand elsewhere.
struct DeclaredScopes {
  const Unit *unit;
  uint64_t offset;
  std::string_view names;
};

int by_place(const void *key, const void *value) {
  const auto &a = *static_cast<const DeclaredScopes *>(key), &b = *static_cast<const DeclaredScopes *>(value);
  if (a.unit != b.unit) return std::less<>()(a.unit, b.unit) ? -1 : 1;
  return compare(a.offset, b.offset);
}

/// Whether an entry is a declaration of a scope or a constant that other entries complete.
bool is_declaration(const Entry &entry) {
  return entry.is_declaration && (is_scope(entry.tag) || entry.tag == dwarf::kConstant ||
                                  entry.tag == dwarf::kVariable || entry.tag == dwarf::kMember);
}

/// Whether an entry is the type of a type unit, of which other units have declarations, not always in its scopes.
bool is_type_of(const Unit &unit, const Entry &entry) { return entry.start == unit.start + unit.type_offset; }

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
    declared_ = kiv_avl_new_using_KIV_ALLOCATOR(pool, by_place, nullptr, nullptr);
    if (levels_ == nullptr || name_ == nullptr || declared_ == nullptr) return table_.errors().out_of_memory();
    Status status = info_.open(sections, pool);
    // The types of version 4 first: they are declared in the other section.
    for (const bool in_types : {true, false}) {
      for (const Unit *unit = info_.first_unit(); status.ok() && unit != nullptr; unit = unit->next) {
        if (unit->is_in_types != in_types) continue;
        status = table_.errors().add(
            walk_unit(*unit), "the unit at offset 0x[0_u32x] of its debug information is damaged[|]", unit->start);
      }
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
      if (is_declaration(entry) || is_type_of(unit, entry)) status = declare(unit, entry);
      if (const auto kind = kind_of(entry); status.ok() && kind) status = add(unit, entry, *kind);
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
    if (status.ok()) status = find_scopes(unit, entry, &level.around);
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
    std::optional<std::string_view> around;
    if (status.ok()) status = find_scopes(unit, entry, &around);
    if (status.ok()) status = spell(around, declaration.name, &constant.name);
    return status.ok() ? table_.add(constant) : status;
  }

  /// Keeps what is in front of a declaration's name.
  Status declare(const Unit &unit, const Entry &entry) {
    std::optional<std::string_view> around;
    Status status = find_scopes(unit, entry, &around);
    if (status.ok() && !around) status = spell_scopes(&around);
    if (!status.ok()) return status;
    auto *declared = place(table_.pool(), DeclaredScopes{&unit, entry.start, *around});
    const bool added = declared != nullptr && kiv_avl_insert(declared_, declared) == 0;
    return added ? Status{} : table_.errors().out_of_memory();
  }

  /// What is in front of the name of the declaration that an entry completes, or of the type that completes it; none
  /// for other entries. Declarations come before the entries that complete them, and type units before the others.
  Status find_scopes(const Unit &unit, const Entry &entry, std::optional<std::string_view> *around) const {
    EntryPlace place;
    const Status status = info_.find(unit, entry.completed ? entry.completed : entry.signature, &place);
    const DeclaredScopes key = {place.unit, place.offset, {}};
    const auto *declared = static_cast<const DeclaredScopes *>(kiv_avl_find(declared_, &key));
    if (declared != nullptr) *around = declared->names;
    return status;
  }

  /// The names of the scopes around the current place, in memory that lasts; spelled once for all children of an entry.
  Status spell_scopes(std::optional<std::string_view> *names) {
    *names = std::string_view();
    if (depth_ == 0) return {};
    Level &level = levels_[depth_ - 1];
    if (!level.inside) {
      std::string_view spelled;
      const Status status = spell({}, {}, &spelled);
      if (!status.ok()) return status;
      level.inside = place_text(table_.pool(), spelled);
      if (level.inside->data() == nullptr) return table_.errors().out_of_memory();
    }
    *names = level.inside;
    return {};
  }

  /// The name with those of the scopes around it, or with the given ones in front.
  Status spell(const std::optional<std::string_view> &around, std::string_view name, std::string_view *whole) {
    uint32_t size = 0;
    const auto append = [&](std::string_view part) {
      if (part.size() > kLongestName - size) return false;
      std::copy(part.begin(), part.end(), name_ + size);
      size += static_cast<uint32_t>(part.size());
      return true;
    };
    std::string_view front = around.value_or(std::string_view());
    uint32_t first = around ? depth_ : 0;
    for (uint32_t i = first; i < depth_; ++i) {
      if (!levels_[i].around) continue;
      front = *levels_[i].around;
      first = i;
    }
    bool fits = append(front);
    for (uint32_t i = first; i < depth_; ++i) {
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
  KIV_AVL_TREE *declared_ = nullptr;
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
