// The symbols that have certain names.
//
// Representation. The names that are wanted, in a hashtable, each with a list of the symbols that have it. It is filled
// by one walk over a symbol table: the file, which may be hostile, has no say in what the hashtable holds.
// Cost. One search in the hashtable for each symbol.
#ifndef KIV_INSPECT_NAME_LOOKUP_H
#define KIV_INSPECT_NAME_LOOKUP_H

#include "examples/kiv_inspect/name_text.h"
#include "examples/kiv_inspect/status.h"
#include "examples/kiv_inspect/symbol_table.h"
#include "kiv_hashtable.h"

namespace kiv::inspect {

class NameLookup {
 public:
  /// REQUIRES: errors and pool outlive this. Memory comes from the pool and is not given back.
  NameLookup(const Errors &errors, KIV_ALLOCATOR *pool)
      : errors_(errors), pool_(pool), names_(kiv_hashtable_KIV_UNICHAR_new_default(pool)) {}
  NameLookup(const NameLookup &) = delete;
  NameLookup &operator=(const NameLookup &) = delete;

  /// A symbol, and the next one of the same name.
  struct Match {
    const Symbol *symbol;
    Match *next;
  };

  /// Makes a name one of those that are wanted.
  Status want(const KIV_UNICHAR *name);

  /// Finds the symbols of the wanted names, in the order of the table. To be called once, after all of want().
  Status search(const SymbolTable &symbols);

  /// Those of a name; null when there are none, or when it was not wanted.
  const Match *matches(const KIV_UNICHAR *name) const;

 private:
  struct Wanted {
    Match *first;
    Match **last;
  };
  bool add_if_wanted(const Symbol &symbol, NameText &text);

  const Errors &errors_;
  KIV_ALLOCATOR *pool_;
  KIV_HASHTABLE *names_;  // of Wanted; null: without memory
};

}  // namespace kiv::inspect

#endif
