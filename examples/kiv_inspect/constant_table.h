// A program's constants, each once, in the order in which they were added.
//
// Representation. Records in a list, and in a tree by kind, name and value, which tells those that several of a
// program's units have. Names are copied into the pool.
// Cost. O(log n) compares for each constant that is added.
#ifndef KIV_INSPECT_CONSTANT_TABLE_H
#define KIV_INSPECT_CONSTANT_TABLE_H

#include "examples/kiv_inspect/constant_value.h"
#include "kiv_allocator.h"
#include "kiv_avl.h"

namespace kiv::inspect {

enum class ConstantKind : uint8_t { enumerator, constant, variable, member };

struct Constant {
  Constant *next;
  ConstantKind kind;
  std::string_view name;
  ConstantValue value;
};

class ConstantTable {
 public:
  /// REQUIRES: the errors outlive this.
  explicit ConstantTable(const Errors &errors) : errors_(errors) {}
  ConstantTable(const ConstantTable &) = delete;
  ConstantTable &operator=(const ConstantTable &) = delete;

  /// Makes the table empty. All its memory comes from the pool, to which nothing is given back.
  Status open(KIV_ALLOCATOR *pool);

  /// Adds a constant that is not there yet. What its value points to is not copied. REQUIRES: open.
  Status add(const Constant &constant);

  const Constant *first() const { return first_; }

  /// Memory that lasts as long as the table, for readers that fill it.
  KIV_ALLOCATOR *pool() const { return pool_; }

  /// Where failures of these readers come from.
  const Errors &errors() const { return errors_; }

 private:
  const Errors &errors_;
  KIV_ALLOCATOR *pool_ = nullptr;
  KIV_AVL_TREE *known_ = nullptr;
  Constant *first_ = nullptr;
  Constant **last_ = &first_;
};

}  // namespace kiv::inspect

#endif
