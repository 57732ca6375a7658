#include "examples/kiv_inspect/type_reader.h"

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

bool wants(const Abbreviation &abbreviation) {
  return kind_of(abbreviation.tag) || abbreviation.tag == dwarf::kEnumerator;
}

/// A type or another scope whose children are being read.
struct Level {
  TypeNode *scope;        // what they are in
  bool is_enumeration;    // whose enumerators they may be
  ValueType enumerators;  // of an enumeration
};

class Visitor {
 public:
  Visitor(FileView file, TypeTable &table) : table_(table), walk_(file, table.errors(), table.pool(), wants) {}

  Status run() { return declared_.open(table_.pool()) ? walk_.run(*this) : table_.errors().out_of_memory(); }

  Status visit(const Unit &unit, const EntryHead &head, ByteReader &reader) {
    Level inside = {scope(), false, {}};
    Entry entry;
    Status status = walk_.info().read_attributes(unit, head, reader, &entry);
    if (!status.ok()) return status;
    if (const auto kind = kind_of(entry.tag)) {
      status = add_type(unit, entry, *kind, is_referred_to(unit, head), &inside);
    } else if (const Level *around = walk_.parent();
               entry.tag == dwarf::kEnumerator && around != nullptr && around->is_enumeration) {
      status = add_enumerator(unit, entry, *around);
    }
    return status.ok() && entry.has_children ? walk_.enter(inside) : status;
  }

 private:
  TypeNode *scope() const {
    const Level *around = walk_.innermost();
    return around != nullptr ? around->scope : table_.program();
  }

  Status add_type(const Unit &unit, const Entry &entry, TypeKind kind, bool is_referred, Level *inside) {
    TypeNode *const *known = nullptr;
    Status status = declared_.find(walk_.info(), unit, entry, &known);
    if (!status.ok()) return status;
    TypeNode *node = known != nullptr ? *known : nullptr;
    if (node == nullptr) {
      Declaration declaration;
      status = read_declaration(walk_.info(), unit, entry, &declaration);
      if (status.ok() && (!declaration.name.empty() || can_be_unnamed(kind)))
        status = table_.add(scope(), kind, declaration.name, {}, &node);
    }
    if (!status.ok() || node == nullptr) return status;
    inside->scope = node;
    inside->is_enumeration = kind == TypeKind::enumeration;
    if (inside->is_enumeration) status = read_enumeration_type(walk_.info(), unit, entry, &inside->enumerators);
    if (status.ok() && is_referred && !declared_.add(unit, entry.start, node)) return table_.errors().out_of_memory();
    return status;
  }

  Status add_enumerator(const Unit &unit, const Entry &entry, const Level &around) {
    Declaration declaration;
    const Status status = read_declaration(walk_.info(), unit, entry, &declaration);
    ConstantValue value;
    if (!status.ok() || declaration.name.empty() ||
        !decode_value(entry.const_value, around.enumerators, unit.bytes.order(), &value)) {
      return status;
    }
    TypeNode *node = nullptr;
    return table_.add(around.scope, TypeKind::enumerator, declaration.name, value, &node);
  }

  TypeTable &table_;
  EntryWalk<Level> walk_;
  KnownEntries<TypeNode *> declared_;
};

}  // namespace

Status read_types(FileView file, TypeTable &table) { return Visitor(file, table).run(); }

}  // namespace kiv::inspect
