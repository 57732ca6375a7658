// A program with constants of many kinds, compiled with debug information of each version for the tests to look into.

#include <cstdint>

namespace fixture {

enum class Wide : uint64_t { least = 0, middle = uint64_t{1} << 63, most = ~uint64_t{0} };
enum class Narrow : signed char { minus = -128, plus = 127 };
enum { kAnonymous = 200 };

struct Record {
  enum Flag { off = -1, on };
  static constexpr int64_t limit = INT64_MIN;
};

constexpr double kThird = 1.0 / 3;
constexpr float kTenth = 0.1f;

}  // namespace fixture

int main(int argc, char **) {
  const auto wide = static_cast<fixture::Wide>(argc);
  const auto narrow = static_cast<fixture::Narrow>(argc);
  const auto flag = static_cast<fixture::Record::Flag>(argc);
  if (wide == fixture::Wide::most && narrow == fixture::Narrow::plus && flag == fixture::Record::on) return argc;
  return static_cast<int>(fixture::kThird * argc + static_cast<double>(fixture::kTenth * static_cast<float>(argc))) +
         static_cast<int>(fixture::Record::limit >> 60) + fixture::kAnonymous - 200;
}
