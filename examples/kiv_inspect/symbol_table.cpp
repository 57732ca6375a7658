#include "examples/kiv_inspect/symbol_table.h"

#include <algorithm>

#include "examples/kiv_inspect/compare.h"
#include "examples/kiv_inspect/pool.h"
#include "kiv_qsort.h"

namespace kiv::inspect {
namespace {

int compare_rank(const Symbol &a, const Symbol &b) {
  const int kind = compare(a.kind, b.kind);
  return kind != 0 ? kind : compare(a.binding, b.binding);
}

}  // namespace

Status SymbolTable::open(KIV_ALLOCATOR *pool) {
  pool_ = pool;
  entries_ = nullptr;
  count_ = capacity_ = 0;
  return {};
}

Status SymbolTable::add(const Symbol &symbol) {
  Symbol *added = place(pool_, symbol);
  if (added == nullptr || (count_ == capacity_ && !grow())) return errors_.out_of_memory();
  entries_[count_++] = {symbol.address, added};
  return {};
}

bool SymbolTable::grow() {
  const uint64_t capacity = std::max<uint64_t>(kFirstCapacity, uint64_t{capacity_} * 2);
  // Sorts count with signed numbers.
  if (capacity > INT32_MAX / sizeof(Entry)) return false;
  auto *entries =
      static_cast<Entry *>(pool_->realloc(pool_, entries_, static_cast<uint32_t>(capacity * sizeof(Entry))));
  if (entries == nullptr) return false;
  entries_ = entries;
  capacity_ = static_cast<uint32_t>(capacity);
  return true;
}

int SymbolTable::by_name(const void *a, const void *b, void *) {
  const auto &x = *static_cast<const Entry *>(a), &y = *static_cast<const Entry *>(b);
  const int address = compare(x.address, y.address);
  return address != 0 ? address : x.symbol->name.compare(y.symbol->name);
}

int SymbolTable::by_rank(const void *a, const void *b, void *) {
  const Symbol &x = *static_cast<const Entry *>(a)->symbol, &y = *static_cast<const Entry *>(b)->symbol;
  const int rank = compare_rank(x, y);
  return rank != 0 ? rank : x.name.compare(y.name);
}

void SymbolTable::sort() {
  (void)kiv_qsort(entries_, static_cast<int32_t>(count_), sizeof(Entry), by_name, nullptr);
  merge();
  // Few symbols share their address with others.
  for (uint32_t first = 0, end; first < count_; first = end) {
    end = first + 1;
    while (end < count_ && entries_[end].address == entries_[first].address) ++end;
    if (end - first > 1) {
      (void)kiv_qsort(entries_ + first, static_cast<int32_t>(end - first), sizeof(Entry), by_rank, nullptr);
    }
  }
}

/// Makes one symbol of those with one address and name, which are side by side.
void SymbolTable::merge() {
  uint32_t kept = 0;
  for (uint32_t i = 0; i < count_; ++i) {
    if (kept == 0 || by_name(&entries_[kept - 1], &entries_[i], nullptr) != 0) {
      entries_[kept++] = entries_[i];
      continue;
    }
    Symbol &symbol = *entries_[kept - 1].symbol;
    const Symbol &twin = *entries_[i].symbol;
    symbol.size = std::max(symbol.size, twin.size);
    if (compare_rank(twin, symbol) < 0) {
      symbol.kind = twin.kind;
      symbol.binding = twin.binding;
    }
  }
  count_ = kept;
}

void SymbolTable::estimate_sizes(const SectionTable &sections) {
  uint64_t last = UINT64_MAX;  // in front of the next higher symbol
  for (uint32_t i = count_; i-- > 0;) {
    Symbol &symbol = *entries_[i].symbol;
    if (i + 1 < count_ && symbol.address != entries_[i + 1].address) last = entries_[i + 1].address - 1;
    if (symbol.size != 0) continue;
    const Section *section = sections.around(symbol.address);
    if (section != nullptr) symbol.size = std::min(last, section->addresses.last) - symbol.address + 1;
  }
}

const Symbol *SymbolTable::nearest(uint64_t address) const {
  const Entry *begin = entries_;
  const auto *end = std::upper_bound(begin, begin + count_, address,
                                     [](uint64_t key, const Entry &entry) { return key < entry.address; });
  if (end == begin) return nullptr;
  return std::lower_bound(begin, end, end[-1].address,
                          [](const Entry &entry, uint64_t key) { return entry.address < key; })
      ->symbol;
}

void SymbolTable::walk(int (*function)(void *symbol, void *context), void *context) const {
  for (uint32_t i = 0; i < count_ && function(entries_[i].symbol, context) != 0; ++i) {
  }
}

}  // namespace kiv::inspect
