#include "examples/kiv_inspect/symbol_order.h"

#include "examples/kiv_inspect/compare.h"

namespace kiv::inspect {
namespace {

constexpr uint32_t kFirstCapacity = 16;

}  // namespace

int by_name_and_address(const void *a, const void *b) {
  const auto &x = *static_cast<const Symbol *>(a), &y = *static_cast<const Symbol *>(b);
  const int name = x.name.compare(y.name);
  return name != 0 ? name : compare(x.address, y.address);
}

LargestSymbols::LargestSymbols(KIV_ALLOCATOR *allocator, uint64_t most)
    : queue_(kiv_prq_new(allocator, kFirstCapacity, KIV_PRQ_KEY_U128, 1, nullptr, nullptr)), most_(most) {}

bool LargestSymbols::add(const Symbol &symbol) {
  if (queue_ == nullptr) return false;
  // The earlier of two equally large symbols has the larger key, so that all keys are different.
  const KIV_U128 key = {symbol.size, UINT64_MAX - added_++};
  if (kiv_prq_insert(queue_, &key, const_cast<Symbol *>(&symbol), &position_) != 0) return false;
  if (queue_->count > most_) (void)kiv_prq_extract_top(queue_);
  return true;
}

bool LargestSymbols::move_to(SymbolVector *symbols) {
  while (queue_ != nullptr && queue_->count > 0) {
    if (!symbols->append(*static_cast<const Symbol *>(kiv_prq_extract_top(queue_)))) return false;
  }
  return true;
}

}  // namespace kiv::inspect
