// A program's constants, each once, in the order in which they were added.
//
// Representation. Records in a list, and in a tree by kind, name and value, which tells those that several of a
// program's units have. Names are copied into the pool. Values are objects, which an object vector owns.
// Cost. O(log n) compares for each constant that is added.
#ifndef KIV_INSPECT_CONSTANT_TABLE_H
#define KIV_INSPECT_CONSTANT_TABLE_H

#include "examples/kiv_inspect/constant_value.h"
#include "examples/kiv_inspect/status.h"
#include "kiv_allocator.h"
#include "kiv_avl.h"
#include "kiv_obj_vector.h"

namespace kiv::inspect {

enum class ConstantKind : uint8_t { enumerator, constant, variable, member };

struct Constant {
  Constant *next;
  ConstantKind kind;
  std::string_view name;
  const KIV_OBJ *value;
};

class ConstantTable {
 public:
  /// REQUIRES: the errors outlive this.
  explicit ConstantTable(const Errors &errors) : errors_(errors) {}
  ~ConstantTable() { obj_vector_del(values_); }
  ConstantTable(const ConstantTable &) = delete;
  ConstantTable &operator=(const ConstantTable &) = delete;

  /// Makes the table empty; once. The values and their vector come from the allocator, which outlives this, all else
  /// from the pool, to which nothing is given back.
  Status open(KIV_ALLOCATOR *pool, KIV_ALLOCATOR *allocator);

  /// Adds a constant that is not there yet. What its value points to is not copied. REQUIRES: open.
  Status add(ConstantKind kind, std::string_view name, const ConstantValue &value);

  const Constant *first() const { return first_; }
  uint32_t count() const { return count_; }

  /// Memory that lasts as long as the table, for readers that fill it.
  KIV_ALLOCATOR *pool() const { return pool_; }

  /// Where failures of these readers come from.
  const Errors &errors() const { return errors_; }

 private:
  const Errors &errors_;
  KIV_ALLOCATOR *pool_ = nullptr;
  KIV_AVL_TREE *known_ = nullptr;
  KIV_OBJ *values_ = nullptr;
  Constant *first_ = nullptr;
  Constant **last_ = &first_;
  uint32_t count_ = 0;
};

}  // namespace kiv::inspect

#endif
