// Feeds foreign bytes to the readers of symbols and sections in kiv_inspect. Whatever they make of them, the tables
// keep their promises, and the index of addresses finds what a look at every section and symbol finds.

#include <algorithm>
#include <cstdlib>

#include "examples/kiv_inspect/address_index.h"
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

struct Count {
  AddressRange window;
  int digits;
  uint32_t overlapping;
};

void count(Count &count, AddressRange range) {
  require(range.first <= range.last);
  count.overlapping += range.first <= count.window.last && count.window.first <= range.last;
}

int count_section(void *value, void *context) {
  count(*static_cast<Count *>(context), static_cast<const Section *>(value)->addresses);
  return 1;
}

int count_symbol(void *value, void *context) {
  auto &c = *static_cast<Count *>(context);
  count(c, static_cast<const Symbol *>(value)->addresses(c.digits));
  return 1;
}

/// The first bytes of the input also are the addresses that are asked for.
void check_ranges(ByteView file, SymbolTable &symbols, KIV_ALLOCATOR *pool) {
  SectionTable sections(symbols.errors());
  if (!sections.open(file, pool).ok()) return;
  symbols.estimate_sizes(sections);
  AddressIndex index(symbols.errors());
  if (!index.open(sections, symbols, pool).ok()) return;
  for (uint32_t at = 0; at < std::min(file.size(), 64u); at += 8) {
    const uint64_t a = file.number({at, 8}), b = file.number({at + 4, 4});
    Count naive = {{std::min(a, b), std::max(a, b)}, symbols.address_digits, 0};
    sections.walk(count_section, &naive);
    symbols.walk(count_symbol, &naive);
    PointerVector<Occupant> found(pool, by_first_address);
    if (index.find(naive.window, &found).ok()) require(found.count() == naive.overlapping);
    found.sort();
    for (uint32_t i = 1; i < found.count(); ++i) require(by_first_address(&found[i - 1], &found[i]) < 0);
  }
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
      const ByteView file(data, static_cast<uint32_t>(size), ByteOrder::little);
      (void)read_symbols(file, table).ok();
      table.walk(check_symbol, &walk);
      require(table.nearest(UINT64_MAX) != nullptr || walk.previous == nullptr);
      check_ranges(file, table, &wrap);
    }
  }
  kiv_allocator_wrap_delete(&wrap);
  return 0;
}
