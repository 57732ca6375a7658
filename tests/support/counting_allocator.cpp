#include "tests/support/counting_allocator.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "gtest/gtest.h"

namespace kiv::test {

CountingAllocator::CountingAllocator()
    : storage_{{alloc<false>, calloc<false>, free, realloc<false>, alloc<true>, calloc<true>, realloc<true>, {}},
               this} {}

CountingAllocator::~CountingAllocator() {
  EXPECT_EQ(blocks_.size(), 0u) << "blocks leaked";
  for (const auto &[block, about] : blocks_) std::free(const_cast<void *>(block));
}

void CountingAllocator::fail_at(uint32_t n, Failing failing) {
  countdown_ = n;
  failing_ = failing;
  failures_ = 0;
}

size_t CountingAllocator::size_of(const void *block) const {
  const auto found = blocks_.find(block);
  return found != blocks_.end() ? found->second.size : 0;
}

std::vector<void *> CountingAllocator::blocks() const {
  std::map<uint32_t, void *> by_age;
  for (const auto &[block, about] : blocks_) by_age[about.name] = const_cast<void *>(block);
  std::vector<void *> result;
  for (const auto &[age, block] : by_age) result.push_back(block);
  return result;
}

uint32_t CountingAllocator::name_of(const void *block) const {
  const auto found = names_.find(block);
  return found != names_.end() ? found->second : 0;
}

CountingAllocator *CountingAllocator::owner_of(KIV_ALLOCATOR *record) {
  CountingAllocator *owner = reinterpret_cast<Storage *>(record)->owner;
  EXPECT_EQ(record, owner->record()) << "called with another record";
  return owner;
}

bool CountingAllocator::refuses() {
  const bool after_first = failures_ > 0 && failing_ == Failing::from_then_on;
  const bool refused = after_first || (countdown_ > 0 && --countdown_ == 0);
  if (refused) ++failures_;
  return refused;
}

void *CountingAllocator::acquire(const char *operation, void *old_block, size_t size, bool zero) {
  std::string entry = operation;
  if (std::strncmp(operation, "realloc", 7) == 0) entry += " " + std::to_string(name_of(old_block));
  entry += " " + std::to_string(size) + " -> ";
  void *block = nullptr;
  const auto old = blocks_.find(old_block);
  if (old_block != nullptr && old == blocks_.end()) {
    ADD_FAILURE() << "realloc of a block that is not alive";
  } else if (old_block != nullptr && size == 0) {
    release(old_block);  // as the C runtimes do
    log.pop_back();
  } else if (!refuses()) {
    // Always a new place, so that a stale pointer shows.
    block = std::malloc(size + 1);
    std::memset(block, zero ? 0 : 0xA5, size + 1);
    blocks_[block] = {size, next_name_};
    names_[block] = next_name_++;
    if (old_block != nullptr) {
      std::memcpy(block, old_block, std::min(size, old->second.size));
      release(old_block);
      log.pop_back();
    }
  }
  log.push_back(entry + std::to_string(name_of(block)));
  return block;
}

void CountingAllocator::release(void *block) {
  log.push_back("free " + std::to_string(name_of(block)));
  if (block == nullptr) return;
  const auto found = blocks_.find(block);
  if (found == blocks_.end()) {
    ADD_FAILURE() << "free of a block that is not alive";
    return;
  }
  std::memset(block, 0x5A, found->second.size);
  blocks_.erase(found);
  std::free(block);
}

template <bool kNofail>
void *CountingAllocator::alloc(KIV_ALLOCATOR *record, uint32_t size) {
  return owner_of(record)->acquire(kNofail ? "alloc_nofail" : "alloc", nullptr, size, false);
}

template <bool kNofail>
void *CountingAllocator::calloc(KIV_ALLOCATOR *record, uint32_t count, uint32_t size) {
  return owner_of(record)->acquire(kNofail ? "calloc_nofail" : "calloc", nullptr, size_t{count} * size, true);
}

template <bool kNofail>
void *CountingAllocator::realloc(KIV_ALLOCATOR *record, void *block, uint32_t size) {
  return owner_of(record)->acquire(kNofail ? "realloc_nofail" : "realloc", block, size, false);
}

void CountingAllocator::free(KIV_ALLOCATOR *record, void *block) { owner_of(record)->release(block); }

uint32_t sweep_failures(const std::function<void(CountingAllocator &)> &action,
                        const std::function<void(CountingAllocator &)> &check) {
  uint32_t points = 0;
  for (const auto failing : {CountingAllocator::Failing::once, CountingAllocator::Failing::from_then_on}) {
    for (uint32_t n = 1;; ++n) {
      SCOPED_TRACE(testing::Message() << "failing at allocation " << n
                                      << (failing == CountingAllocator::Failing::once ? "" : " and later"));
      CountingAllocator allocator;
      allocator.fail_at(n, failing);
      action(allocator);
      const bool failed = allocator.has_failed();
      if (check) check(allocator);
      if (!failed || testing::Test::HasFatalFailure()) {
        points = n - 1;
        break;
      }
    }
  }
  return points;
}

}  // namespace kiv::test
