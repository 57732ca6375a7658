// A program with constants of many kinds for the tests to look into.

#include <cstdint>

namespace fixture {

enum class Wide : uint64_t { most = ~uint64_t{0} };
enum class Narrow : signed char { minus = -128 };
enum { kAnonymous = 200 };

struct Record {
  enum Flag { on = 1 };
  static constexpr int64_t limit = INT64_MIN;
};

constexpr double kThird = 1.0 / 3;

}  // namespace fixture

int main(int argc, char **) {
  const auto wide = static_cast<fixture::Wide>(argc);
  const auto narrow = static_cast<fixture::Narrow>(argc);
  const auto flag = static_cast<fixture::Record::Flag>(argc);
  if (wide == fixture::Wide::most && narrow == fixture::Narrow::minus && flag == fixture::Record::on) return argc;
  return static_cast<int>(fixture::kThird * argc) + static_cast<int>(fixture::Record::limit >> 60) +
         fixture::kAnonymous;
}
