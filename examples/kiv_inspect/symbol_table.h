// A program's symbols by address.
//
// Representation. Symbol records from the pool, and an array with an entry for each of them. While symbols are added
// the array grows in their order; then it is sorted once, which takes a fraction of the time that a tree would take to
// keep it in order all along. Invariants, once sorted. Entries are in the order of address, rank and name, in which
// symbols are shown and searched. No two symbols agree in address and name. Cost. O(n log n) compares for n symbols,
// O(log n) for a search.
#ifndef KIV_INSPECT_SYMBOL_TABLE_H
#define KIV_INSPECT_SYMBOL_TABLE_H

#include <cstdint>
#include <string_view>

#include "examples/kiv_inspect/address_range.h"
#include "examples/kiv_inspect/section_table.h"
#include "examples/kiv_inspect/status.h"
#include "kiv_allocator.h"

namespace kiv::inspect {

/// Both in the order of preference where several symbols share an address.
enum class SymbolKind : uint8_t { function, object, other };
enum class SymbolBinding : uint8_t { global, weak, local };

struct Symbol {
  uint64_t address;
  uint64_t size;          // 0: unknown
  std::string_view name;  // in the file's bytes
  SymbolKind kind;
  SymbolBinding binding;

  /// A symbol of unknown size takes one byte.
  AddressRange addresses(int digits) const { return address_range(address, size, digits); }
};

/// How a kind is shown: F function, O object, - other.
inline char letter_of(SymbolKind kind) { return "FO-"[static_cast<int>(kind)]; }

class SymbolTable {
 public:
  /// REQUIRES: the errors outlive this.
  explicit SymbolTable(const Errors &errors) : errors_(errors) {}
  SymbolTable(const SymbolTable &) = delete;
  SymbolTable &operator=(const SymbolTable &) = delete;

  /// Makes the table empty. All its memory comes from the pool, to which nothing is given back: the table ends with
  /// what the pool releases as a whole.
  Status open(KIV_ALLOCATOR *pool);

  /// Adds a symbol. REQUIRES: open, and not sorted.
  Status add(const Symbol &symbol);

  /// Puts the symbols in order, once all are added. Of several with one address and name one remains, with the best
  /// kind and binding and the greatest size. REQUIRES: open. All of the following REQUIRE that this was called.
  void sort();

  /// Gives symbols of unknown size that of the gap behind them: up to the next symbol's address, or to the end of the
  /// section around them. In no section the size stays unknown.
  void estimate_sizes(const SectionTable &sections);

  /// The best symbol at the greatest address that is not above the given one, or null.
  const Symbol *nearest(uint64_t address) const;

  uint32_t count() const { return count_; }

  /// Calls function(symbol, context) in order until it gives 0.
  void walk(int (*function)(void *symbol, void *context), void *context) const;

  /// Memory that lasts as long as the table, for readers that fill it.
  KIV_ALLOCATOR *pool() const { return pool_; }

  /// Where failures of these readers come from.
  const Errors &errors() const { return errors_; }

  /// Hexadecimal digits of the program's addresses: 8 or 16.
  int address_digits = 16;

 private:
  struct Entry {
    uint64_t address;  // the symbol's: searches need not look at it
    Symbol *symbol;
  };
  static constexpr uint32_t kFirstCapacity = 512;

  static int by_name(const void *a, const void *b, void *);
  static int by_rank(const void *a, const void *b, void *);
  bool grow();
  void merge();

  const Errors &errors_;
  KIV_ALLOCATOR *pool_ = nullptr;
  Entry *entries_ = nullptr;
  uint32_t count_ = 0;
  uint32_t capacity_ = 0;
};

}  // namespace kiv::inspect

#endif
