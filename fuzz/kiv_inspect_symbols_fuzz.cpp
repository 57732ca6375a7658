// Feeds foreign bytes to the symbol readers of kiv_inspect. Whatever they make of them, the table keeps its promises.

#include <cstdlib>

#include "examples/kiv_inspect/program.h"

namespace {

using namespace kiv::inspect;

void require(bool holds) {
  if (!holds) std::abort();
}

struct Walk {
  const SymbolTable *table;
  const Symbol *previous;
};

/// Symbols come in order, and the first at each address is what that address resolves to.
int check_symbol(void *value, void *context) {
  auto &walk = *static_cast<Walk *>(context);
  const auto *symbol = static_cast<const Symbol *>(value);
  require(!symbol->name.empty());
  const bool first = walk.previous == nullptr || walk.previous->address < symbol->address;
  require(first || walk.previous->address == symbol->address);
  if (first) require(walk.table->nearest(symbol->address) == symbol);
  walk.previous = symbol;
  return 1;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  if (size > UINT32_MAX) return 0;
  KIV_ALLOCATOR heap, wrap;
  require(kiv_allocator_wrap_new(&wrap, kiv_allocator_default_new(&heap), 0) != nullptr);
  {
    const Errors errors(&wrap);
    SymbolTable table(errors);
    Walk walk = {&table, nullptr};
    if (table.open(&wrap).ok()) {
      (void)read_symbols({data, static_cast<uint32_t>(size), ByteOrder::little}, table).ok();
      table.walk(check_symbol, &walk);
      require(table.nearest(UINT64_MAX) != nullptr || walk.previous == nullptr);
    }
  }
  kiv_allocator_wrap_delete(&wrap);
  return 0;
}
