#include "examples/kiv_inspect/type_reader.h"

#include <new>
#include <optional>

#include "examples/kiv_inspect/debug_types.h"
#include "examples/kiv_inspect/debug_walk.h"
#include "examples/kiv_inspect/dwarf_codes.h"

namespace kiv::inspect {
namespace {

std::optional<TypeKind> kind_of(uint64_t tag) {
  switch (tag) {
    case dwarf::kNamespace:
      return TypeKind::name_space;
    case dwarf::kModule:
      return TypeKind::module;
    case dwarf::kClassType:
      return TypeKind::class_type;
    case dwarf::kStructureType:
      return TypeKind::struct_type;
    case dwarf::kUnionType:
      return TypeKind::union_type;
    case dwarf::kInterfaceType:
      return TypeKind::interface_type;
    case dwarf::kEnumerationType:
      return TypeKind::enumeration;
    case dwarf::kTypedef:
      return TypeKind::type_name;
    case dwarf::kBaseType:
      return TypeKind::base_type;
    default:
      return std::nullopt;
  }
}

bool can_be_unnamed(TypeKind kind) { return kind == TypeKind::name_space || kind == TypeKind::enumeration; }

/// An entry whose children are being read.
struct Level {
  TypeNode *scope;        // what they are in
  bool is_enumeration;    // whose enumerators they may be
  ValueType enumerators;  // of an enumeration
};

/// The visitor of the walk. It goes down and up by a stack of its own.
class Walk {
 public:
  Walk(ByteView file, TypeTable &table) : table_(table), info_(table.errors(), file.size()) {}

  Status run(const DebugSections &sections) {
    KIV_ALLOCATOR *pool = table_.pool();
    levels_ = static_cast<Level *>(pool->alloc(pool, kMostLevels * sizeof(Level)));
    if (levels_ == nullptr || !declared_.open(pool)) return table_.errors().out_of_memory();
    const Status status = info_.open(sections, pool);
    return status.ok() ? walk_entries(info_, table_.errors(), *this) : status;
  }

  void start() { depth_ = 0; }
  void leave() { depth_ -= depth_ > 0; }

  Status visit(const Unit &unit, const Entry &entry) {
    Level inside = {scope(), false, {}};
    Status status;
    if (const auto kind = kind_of(entry.tag)) {
      status = add_type(unit, entry, *kind, &inside);
    } else if (entry.tag == dwarf::kEnumerator && depth_ > 0 && levels_[depth_ - 1].is_enumeration) {
      status = add_enumerator(unit, entry);
    }
    if (!status.ok() || !entry.has_children) return status;
    if (depth_ == kMostLevels)
      return table_.errors().failure("the entries of its debug information are nested too deeply[|]");
    new (&levels_[depth_++]) Level(inside);
    return {};
  }

 private:
  TypeNode *scope() const { return depth_ > 0 ? levels_[depth_ - 1].scope : table_.program(); }

  Status add_type(const Unit &unit, const Entry &entry, TypeKind kind, Level *inside) {
    TypeNode *const *known = nullptr;
    Status status = declared_.find(info_, unit, entry, &known);
    if (!status.ok()) return status;
    TypeNode *node = known != nullptr ? *known : nullptr;
    if (node == nullptr) {
      Declaration declaration;
      status = read_declaration(info_, unit, entry, &declaration);
      if (status.ok() && (!declaration.name.empty() || can_be_unnamed(kind)))
        status = table_.add(scope(), kind, declaration.name, {}, &node);
    }
    if (!status.ok() || node == nullptr) return status;
    inside->scope = node;
    inside->is_enumeration = kind == TypeKind::enumeration;
    if (inside->is_enumeration) status = read_enumeration_type(info_, unit, entry, &inside->enumerators);
    if (status.ok() && is_referred_to(unit, entry) && !declared_.add(unit, entry, node))
      return table_.errors().out_of_memory();
    return status;
  }

  Status add_enumerator(const Unit &unit, const Entry &entry) {
    Declaration declaration;
    const Status status = read_declaration(info_, unit, entry, &declaration);
    const Level &around = levels_[depth_ - 1];
    ConstantValue value;
    if (!status.ok() || declaration.name.empty() ||
        !decode_value(entry.const_value, around.enumerators, unit.bytes.order(), &value)) {
      return status;
    }
    TypeNode *node = nullptr;
    return table_.add(around.scope, TypeKind::enumerator, declaration.name, value, &node);
  }

  TypeTable &table_;
  DebugInfo info_;
  Level *levels_ = nullptr;
  uint32_t depth_ = 0;
  KnownEntries<TypeNode *> declared_;
};

}  // namespace

Status read_types(ByteView file, TypeTable &table) {
  DebugSections sections;
  Status status = find_debug_sections(table.errors(), file, table.pool(), &sections);
  if (!status.ok()) return status;
  Walk walk(file, table);
  return walk.run(sections);
}

}  // namespace kiv::inspect
