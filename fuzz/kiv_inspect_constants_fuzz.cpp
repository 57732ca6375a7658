// Feeds foreign bytes to the readers of debug information and of memory in kiv_inspect. Whatever they make of them, the
// constants are told apart and can be shown, the types are a tree, and memory can be read wherever it is said to be.

#include <algorithm>
#include <cstdlib>

#include "examples/kiv_inspect/constant_reader.h"
#include "examples/kiv_inspect/program.h"
#include "examples/kiv_inspect/type_reader.h"
#include "examples/kiv_inspect/type_tree.h"
#include "examples/kiv_inspect/value_object.h"

namespace {

using namespace kiv::inspect;

void require(bool holds) {
  if (!holds) std::abort();
}

/// An object can be shown; its text goes back to where it came from.
void check_text(const KIV_OBJ *object) {
  char *text = object->type->to_char_s(object);
  require(text != nullptr);
  object->allocator->free(object->allocator, text);
}

void check_constants(const Errors &errors, ByteView file, KIV_ALLOCATOR *memory) {
  ConstantTable table(errors);
  if (!table.open(memory, memory).ok()) return;
  (void)read_constants(file, table).ok();
  for (const Constant *c = table.first(); c != nullptr; c = c->next) {
    require(!c->name.empty());
    require(c->next == nullptr || c->next->kind != c->kind || c->next->name != c->name ||
            compare_value_objects(c->next->value, c->value) != 0);
    check_text(c->value);
  }
}

/// A node that stands for several has two halves: there are fewer of these than of the others.
void check_types(const Errors &errors, ByteView file, KIV_ALLOCATOR *memory) {
  TypeTable table(errors);
  if (!table.open(memory).ok()) return;
  (void)read_types(file, table).ok();
  TypeTree tree(errors, memory);
  require(tree.build(table, *table.program()).ok());
  require(obj_tree_height(tree.root()) < 2 * table.count());
  for (const KIV_OBJ *node = tree.root(); node != nullptr; node = obj_tree_get_right(node)) {
    check_text(obj_tree_get(node));
  }
}

/// The first bytes of the input also are the addresses that are asked for.
void check_memory(const Errors &errors, ByteView file, KIV_ALLOCATOR *memory) {
  MemoryMap map(errors);
  if (!map.open(file, memory).ok()) return;
  uint8_t bytes[64];
  for (uint32_t at = 0; at < std::min(file.size(), 256u); at += 8) {
    for (const uint64_t address : {file.number({at, 8}), file.number({at, 4}), file.number({at, 2}) << 12}) {
      if (map.contains(address, sizeof bytes)) map.read(address, sizeof bytes, bytes);
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  if (size > UINT32_MAX) return 0;
  KIV_ALLOCATOR heap, wrap;
  require(kiv_allocator_wrap_new(&wrap, kiv_allocator_default_new(&heap), 0) != nullptr);
  const ByteView file(data, static_cast<uint32_t>(size), ByteOrder::little);
  {
    const Errors errors(&wrap);
    check_constants(errors, file, &wrap);
    check_types(errors, file, &wrap);
    check_memory(errors, file, &wrap);
  }
  kiv_allocator_wrap_delete(&wrap);
  return 0;
}
