// A program's types by the scopes that they are in, each once, however many units have it.
//
// Representation. Records in a list, those around others first, and in a tree by scope, kind, name and value. Names are
// copied into the pool.
// Cost. O(log n) compares for each type that is added.
#ifndef KIV_INSPECT_TYPE_TABLE_H
#define KIV_INSPECT_TYPE_TABLE_H

#include "examples/kiv_inspect/constant_value.h"
#include "examples/kiv_inspect/status.h"
#include "kiv_allocator.h"
#include "kiv_avl.h"

namespace kiv::inspect {

enum class TypeKind : uint8_t {
  program,
  name_space,
  module,
  class_type,
  struct_type,
  union_type,
  interface_type,
  enumeration,
  type_name,
  base_type,
  enumerator
};

/// A scope, a type or an enumerator.
struct TypeNode {
  TypeNode *next;
  TypeNode *around;  // null: of the program
  uint32_t number;   // in the order of the list; greater than that of the one around
  TypeKind kind;
  bool has_more;          // something in it
  std::string_view name;  // empty: it has none
  ConstantValue value;    // of an enumerator
  size_t matched;         // what find() is at
};

class TypeTable {
 public:
  /// REQUIRES: the errors outlive this.
  explicit TypeTable(const Errors &errors) : errors_(errors) {}
  TypeTable(const TypeTable &) = delete;
  TypeTable &operator=(const TypeTable &) = delete;

  /// Makes a table of the program alone, without a name yet. All its memory comes from the pool, to which nothing is
  /// given back.
  Status open(KIV_ALLOCATOR *pool);

  /// What has this kind, name and value in the scope, and is added when it is not there. What its value points to is
  /// not copied. REQUIRES: open.
  Status add(TypeNode *around, TypeKind kind, std::string_view name, const ConstantValue &value, TypeNode **node);

  /// The program, from which the list starts. REQUIRES: open.
  TypeNode *program() const { return first_; }

  /// How many nodes there are, and above all of their numbers. REQUIRES: open.
  uint32_t count() const { return last_->number + 1; }

  /// The scope or type that has a name like "namespace::type", or null. Of several, one that something is in. Scopes
  /// without a name do not count.
  const TypeNode *find(std::string_view name) const;

  /// Memory that lasts as long as the table, for readers that fill it.
  KIV_ALLOCATOR *pool() const { return pool_; }

  /// Where failures of these readers come from.
  const Errors &errors() const { return errors_; }

 private:
  const Errors &errors_;
  KIV_ALLOCATOR *pool_ = nullptr;
  KIV_AVL_TREE *known_ = nullptr;
  TypeNode *first_ = nullptr;
  TypeNode *last_ = nullptr;
};

}  // namespace kiv::inspect

#endif
