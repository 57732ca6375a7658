#include "examples/kiv_inspect/name_lookup.h"

#include "examples/kiv_inspect/pool.h"
#include "kiv_string.h"

namespace kiv::inspect {

Status NameLookup::want(const KIV_UNICHAR *name) {
  if (names_ == nullptr) return errors_.out_of_memory();
  if (kiv_hashtable_get(names_, name) != nullptr) return {};
  KIV_STRING key = kiv_string_dup(pool_, name);
  auto *wanted = place(pool_, Wanted{nullptr, nullptr});
  if (key == nullptr || wanted == nullptr) return errors_.out_of_memory();
  wanted->last = &wanted->first;
  kiv_hashtable_put_key_elem(names_, key, wanted);
  return kiv_hashtable_get(names_, name) == wanted ? Status{} : errors_.out_of_memory();
}

bool NameLookup::add_if_wanted(const Symbol &symbol, NameText &text) {
  const KIV_UNICHAR *name = text.decode(symbol.name);
  if (name == nullptr) return false;
  auto *wanted = static_cast<Wanted *>(kiv_hashtable_get(names_, name));
  if (wanted == nullptr) return true;
  auto *match = place(pool_, Match{&symbol, nullptr});
  if (match == nullptr) return false;
  *wanted->last = match;
  wanted->last = &match->next;
  return true;
}

Status NameLookup::search(const SymbolTable &symbols) {
  NameText text(pool_);
  struct Search {
    NameLookup *lookup;
    NameText *text;
    int ok;
  } search = {this, &text, names_ != nullptr};
  if (search.ok) {
    symbols.walk(
        [](void *value, void *context) {
          auto &s = *static_cast<Search *>(context);
          return s.ok = s.lookup->add_if_wanted(*static_cast<const Symbol *>(value), *s.text);
        },
        &search);
  }
  return search.ok ? Status{} : errors_.out_of_memory();
}

const NameLookup::Match *NameLookup::matches(const KIV_UNICHAR *name) const {
  const auto *wanted = names_ != nullptr ? static_cast<const Wanted *>(kiv_hashtable_get(names_, name)) : nullptr;
  return wanted != nullptr ? wanted->first : nullptr;
}

}  // namespace kiv::inspect
