// Memory between two pages which must not be touched: reading or writing before or behind it ends the program.
#ifndef KIV_TESTS_SUPPORT_GUARDED_PAGE_H
#define KIV_TESTS_SUPPORT_GUARDED_PAGE_H

#include <cstddef>
#include <cstdint>

namespace kiv::test {

class GuardedPage {
 public:
  static constexpr size_t kSize = 4096;

  GuardedPage();
  ~GuardedPage();
  GuardedPage(const GuardedPage &) = delete;
  GuardedPage &operator=(const GuardedPage &) = delete;

  /// The units behind the first guard.
  template <class Unit>
  Unit *first() {
    return reinterpret_cast<Unit *>(memory_);
  }

  /// The last `count` units before the second guard.
  template <class Unit>
  Unit *last(size_t count) {
    return reinterpret_cast<Unit *>(memory_ + kSize) - count;
  }

 private:
  uint8_t *memory_;
};

}  // namespace kiv::test

#endif
