#include <cstdio>
#include <cstdlib>

#include "gtest/gtest.h"
#include "tests/support/process.h"
#include "tests/support/random.h"

namespace kiv::test {

uint64_t seed() {
  static const uint64_t value = [] {
    const char *given = std::getenv("KIV_TEST_SEED");
    return given != nullptr ? std::strtoull(given, nullptr, 0) : uint64_t{std::random_device()()};
  }();
  return value;
}

}  // namespace kiv::test

namespace {

class SeedPrinter : public testing::EmptyTestEventListener {
  void OnTestPartResult(const testing::TestPartResult &result) override {
    if (result.failed()) std::printf("KIV_TEST_SEED=%llu\n", static_cast<unsigned long long>(kiv::test::seed()));
  }
};

}  // namespace

int main(int argc, char **argv) {
  kiv::test::run_child_if_asked(argc, argv);
  testing::InitGoogleTest(&argc, argv);
  testing::UnitTest::GetInstance()->listeners().Append(new SeedPrinter);
  return RUN_ALL_TESTS();
}
