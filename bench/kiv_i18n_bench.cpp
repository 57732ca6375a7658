// Messages beside snprintf, {fmt} and ICU's MessageFormat; cached texts beside hash tables of the same under a lock.
//
// All but snprintf make the same text of 32- or 16-bit units from the same arguments. {fmt} parses its format string at
// run time, as the library does, and writes code points; ICU's pattern is parsed beforehand. A new text is one that the
// caller owns: a block, a std::u32string, a UnicodeString. Figures of ICU's numbers are grouped unless the pattern says
// otherwise, so it does.

#define FMT_HEADER_ONLY
#include <fmt/format.h>
#include <fmt/xchar.h>
#include <pthread.h>
#include <unicode/fmtable.h>
#include <unicode/msgfmt.h>

#include <cstdint>
#include <memory>
#include <mutex>
#include <shared_mutex>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "bench_support.h"
#include "kiv_i18n.h"
#include "kiv_message.h"

using kiv::bench::require;
using kiv::bench::Stopwatch;

namespace {

constexpr size_t kOperations = 20000;

KIV_ALLOCATOR *heap() {
  static KIV_ALLOCATOR allocator;
  static KIV_ALLOCATOR *const record = kiv_allocator_default_new(&allocator);
  return record;
}

const KIV_UNICHAR *units(const char32_t *text) { return reinterpret_cast<const KIV_UNICHAR *>(text); }
KIV_UNICHAR *units(char32_t *text) { return reinterpret_cast<KIV_UNICHAR *>(text); }

// --- The arguments, and what they become
// ------------------------------------------------------------------------------

struct Arguments {
  const char32_t *file, *directory;
  const char *file_chars, *directory_chars;
  int32_t line;
  uint64_t bytes;
  uint32_t address;
  double seconds;
  int64_t count;
  char32_t mark;
};
// The compiler is not to know them.
volatile int32_t the_line = 4711;
Arguments arguments() {
  return {U"kiv_string_pattern.cpp",
          U"/usr/src/debugger/text",
          "kiv_string_pattern.cpp",
          "/usr/src/debugger/text",
          the_line,
          1234567890123u,
          0xbeef1234u,
          12.25,
          -42,
          U'*'};
}

constexpr std::u32string_view kThree = U"cannot read \"kiv_string_pattern.cpp\" in /usr/src/debugger/text: error 4711";
constexpr std::u32string_view kEight =
    U"* kiv_string_pattern.cpp:4711 in /usr/src/debugger/text: 1234567890123 bytes at beef1234 in 12.250 s,      -42 "
    U"left";

template <class Unit>
bool is(std::basic_string_view<Unit> text, std::u32string_view expected) {
  return std::equal(text.begin(), text.end(), expected.begin(), expected.end());
}

struct Ours {
  static constexpr const char *kName = "ours";

  template <class Format>
  static auto with_three(const Arguments &a, Format format) {
    return format("cannot read \"[0_S]\" in [1_S]: error [2_s32][|]",
                  KIV_ARGS(units(a.file), units(a.directory), a.line));
  }
  template <class Format>
  static auto with_eight(const Arguments &a, Format format) {
    return format("[7_C] [0_S]:[1_s32] in [2_S]: [3_u64] bytes at [4_u32x] in [5_df.3] s, [6_s64d8] left[|]",
                  KIV_ARGS(units(a.file), a.line, units(a.directory), a.bytes, a.address, a.seconds, a.count, a.mark));
  }

  char32_t buffer[256];
  auto into_buffer() {
    return [this](const char *message, auto... words) {
      uint32_t count = 0;
      kiv_i18n_prn8(nullptr, units(buffer), 256, &count, message, words...);
      return std::u32string_view(buffer, count);
    };
  }
  std::u32string_view three(const Arguments &a) { return with_three(a, into_buffer()); }
  std::u32string_view eight(const Arguments &a) { return with_eight(a, into_buffer()); }

  struct Text {
    KIV_STRING block;
    ~Text() { heap()->free(heap(), block); }
    std::u32string_view view() const { return reinterpret_cast<char32_t *>(block); }
  };
  static auto into_block() {
    return [](const char *message, auto... words) { return Text{kiv_i18n_prna8(nullptr, heap(), message, words...)}; };
  }
  Text new_three(const Arguments &a) { return with_three(a, into_block()); }
  Text new_eight(const Arguments &a) { return with_eight(a, into_block()); }
};

struct Fmt {
  static constexpr const char *kName = "{fmt}";
  using Buffer = fmt::basic_memory_buffer<char32_t>;

  template <class... Values>
  static void append(Buffer *buffer, std::u32string_view format, const Values &...values) {
    fmt::detail::vformat_to(*buffer, fmt::basic_string_view<char32_t>(format.data(), format.size()),
                            fmt::make_format_args<fmt::buffer_context<char32_t>>(values...));
  }
  static void three(const Arguments &a, Buffer *buffer) {
    append(buffer, U"cannot read \"{}\" in {}: error {}", a.file, a.directory, a.line);
  }
  static void eight(const Arguments &a, Buffer *buffer) {
    append(buffer, U"{} {}:{} in {}: {} bytes at {:x} in {:.3f} s, {:8} left", a.mark, a.file, a.line, a.directory,
           a.bytes, a.address, a.seconds, a.count);
  }

  std::unique_ptr<Buffer> buffer = std::make_unique<Buffer>();
  std::u32string_view three(const Arguments &a) {
    buffer->clear();
    three(a, buffer.get());
    return {buffer->data(), buffer->size()};
  }
  std::u32string_view eight(const Arguments &a) {
    buffer->clear();
    eight(a, buffer.get());
    return {buffer->data(), buffer->size()};
  }

  struct Text {
    std::u32string text;
    std::u32string_view view() const { return text; }
  };
  Text new_three(const Arguments &a) {
    Buffer local;
    three(a, &local);
    return {std::u32string(local.data(), local.size())};
  }
  Text new_eight(const Arguments &a) {
    Buffer local;
    eight(a, &local);
    return {std::u32string(local.data(), local.size())};
  }
};

/// Bytes in place of code points: what the arguments alone cost.
struct Snprintf {
  static constexpr const char *kName = "snprintf";

  char buffer[256];
  std::string_view three(const Arguments &a) {
    const int length = std::snprintf(buffer, sizeof buffer, "cannot read \"%s\" in %s: error %d", a.file_chars,
                                     a.directory_chars, a.line);
    return {buffer, static_cast<size_t>(length)};
  }
  std::string_view eight(const Arguments &a) {
    const int length = std::snprintf(buffer, sizeof buffer, "%c %s:%d in %s: %lu bytes at %x in %.3f s, %8ld left",
                                     static_cast<char>(a.mark), a.file_chars, a.line, a.directory_chars, a.bytes,
                                     a.address, a.seconds, a.count);
    return {buffer, static_cast<size_t>(length)};
  }
};

/// Without hexadecimal and width, which its patterns do not have: given as a string.
struct Icu {
  static constexpr const char *kName = "ICU";

  UErrorCode status = U_ZERO_ERROR;
  icu::MessageFormat three_format{u"cannot read \"{0}\" in {1}: error {2,number,0}", icu::Locale::getEnglish(), status};
  icu::MessageFormat eight_format{
      u"{7} {0}:{1,number,0} in {2}: {3,number,0} bytes at {4} in {5,number,0.000} s, {6} "
      u"left",
      icu::Locale::getEnglish(), status};

  struct Text {
    icu::UnicodeString text;
    std::u16string_view view() const { return {text.getBuffer(), static_cast<size_t>(text.length())}; }
  };
  static icu::UnicodeString string(const char32_t *text) {
    return icu::UnicodeString::fromUTF32(reinterpret_cast<const UChar32 *>(text), -1);
  }
  static const icu::Formattable *three_arguments(const Arguments &a) {
    static const icu::Formattable values[] = {string(a.file), string(a.directory), a.line};
    return values;
  }
  static const icu::Formattable *eight_arguments(const Arguments &a) {
    static const icu::Formattable values[] = {string(a.file),      a.line,    string(a.directory), int64_t(a.bytes),
                                              string(U"beef1234"), a.seconds, string(U"     -42"), string(U"*")};
    return values;
  }
  Text new_three(const Arguments &a) { return format(three_format, three_arguments(a), 3); }
  Text new_eight(const Arguments &a) { return format(eight_format, eight_arguments(a), 8); }
  Text format(const icu::MessageFormat &message, const icu::Formattable *values, int32_t count) {
    Text result;
    icu::FieldPosition ignored;
    message.format(values, count, result.text, ignored, status);
    return result;
  }
};

template <class Make>
double time_texts(Make make) {
  const Arguments a = arguments();
  const Stopwatch stopwatch;
  for (size_t i = 0; i < kOperations; ++i) {
    auto text = make(a);
    benchmark::DoNotOptimize(text);
  }
  return stopwatch.seconds();
}

template <class Contestant>
void add_buffers(Contestant *contestant) {
  const auto name = [](const char *work) { return kiv::bench::name("i18n", work, 1, Contestant::kName); };
  require(is(contestant->three(arguments()), kThree), Contestant::kName, "three arguments");
  require(is(contestant->eight(arguments()), kEight), Contestant::kName, "eight arguments");
  kiv::bench::add(name("three arguments, buffer"), 20, kOperations,
                  [=] { return time_texts([=](const Arguments &a) { return contestant->three(a); }); });
  kiv::bench::add(name("eight arguments, buffer"), 20, kOperations,
                  [=] { return time_texts([=](const Arguments &a) { return contestant->eight(a); }); });
}

template <class Contestant>
void add_new_texts(Contestant *contestant) {
  const auto name = [](const char *work) { return kiv::bench::name("i18n", work, 1, Contestant::kName); };
  require(is(contestant->new_three(arguments()).view(), kThree), Contestant::kName, "three arguments, new text");
  require(is(contestant->new_eight(arguments()).view(), kEight), Contestant::kName, "eight arguments, new text");
  kiv::bench::add(name("three arguments, new text"), 20, kOperations,
                  [=] { return time_texts([=](const Arguments &a) { return contestant->new_three(a); }); });
  kiv::bench::add(name("eight arguments, new text"), 20, kOperations,
                  [=] { return time_texts([=](const Arguments &a) { return contestant->new_eight(a); }); });
}

// --- Cached texts
// ------------------------------------------------------------------------------------------------------

struct OurCache {
  static constexpr const char *kName = "ours";

  KIV_I18N *handle = kiv_i18n_prn_init(heap());
  const KIV_UNICHAR *get(const char *message) { return kiv_i18n_get(handle, message); }
};

template <class Mutex, template <class> class Lock>
struct LockedMap {
  Mutex mutex;
  std::unordered_map<std::string_view, std::u32string> texts;

  const KIV_UNICHAR *get(const char *message) {
    const std::string_view key = message;
    {
      const Lock<Mutex> lock(mutex);
      const auto found = texts.find(key);
      if (found != texts.end()) return units(found->second.c_str());
    }
    const std::unique_lock<Mutex> lock(mutex);
    return units(texts.emplace(key, std::u32string(key.begin(), key.end() - 3)).first->second.c_str());
  }
};
struct MutexMap : LockedMap<std::mutex, std::unique_lock> {
  static constexpr const char *kName = "std::unordered_map, mutex";
};
struct SharedMutexMap : LockedMap<std::shared_mutex, std::shared_lock> {
  static constexpr const char *kName = "std::unordered_map, shared_mutex";
};

struct Messages {
  explicit Messages(size_t size) {
    for (size_t i = 0; i < size; ++i) {
      texts.push_back("The symbol table of module " + std::to_string(i * 7919) + " cannot be read.[|]");
    }
    for (size_t i = 0; i < kOperations; ++i) order.push_back(i * 2654435761u % size);
  }
  std::vector<std::string> texts;
  std::vector<size_t> order;
};

template <class Cache>
double time_lookups(const Messages &messages, Cache *cache) {
  uint64_t sum = 0;
  const Stopwatch stopwatch;
  for (const size_t i : messages.order) sum += cache->get(messages.texts[i].c_str())[0];
  const double seconds = stopwatch.seconds();
  require(sum == uint64_t{'T'} * kOperations, Cache::kName, "lookup");
  return seconds;
}

/// The time from the start of all threads to the end of the last, for the lookups of one of them.
template <class Cache>
double time_threads(const Messages &messages, Cache *cache, unsigned threads) {
  struct Work {
    const Messages *messages;
    Cache *cache;
  } work{&messages, cache};
  const auto routine = [](void *argument) -> void * {
    const auto *it = static_cast<Work *>(argument);
    for (int i = 0; i < 5; ++i) time_lookups(*it->messages, it->cache);
    return nullptr;
  };
  timespec start, end;
  clock_gettime(CLOCK_MONOTONIC, &start);
  std::vector<pthread_t> ids(threads);
  for (pthread_t &id : ids) pthread_create(&id, nullptr, routine, &work);
  for (const pthread_t id : ids) pthread_join(id, nullptr);
  clock_gettime(CLOCK_MONOTONIC, &end);
  return static_cast<double>(end.tv_sec - start.tv_sec) + 1e-9 * static_cast<double>(end.tv_nsec - start.tv_nsec);
}

template <class Cache>
void add_cache(const Messages *messages) {
  auto *cache = new Cache;
  time_lookups(*messages, cache);
  const size_t size = messages->texts.size();
  kiv::bench::add(kiv::bench::name("i18n", "cached text", size, Cache::kName), 20, kOperations,
                  [=] { return time_lookups(*messages, cache); });
  kiv::bench::add(kiv::bench::name("i18n", "cached text, 4 threads", size, Cache::kName), 5, 4 * 5 * kOperations,
                  [=] { return time_threads(*messages, cache, 4); });
}

}  // namespace

int main(int argc, char **argv) {
  kiv::bench::keep_heap();
  Ours ours;
  Fmt fmt;
  Snprintf with_snprintf;
  Icu icu;
  add_buffers(&ours);
  add_buffers(&fmt);
  add_buffers(&with_snprintf);
  add_new_texts(&ours);
  add_new_texts(&fmt);
  add_new_texts(&icu);
  std::vector<std::unique_ptr<Messages>> messages;
  for (const size_t size : {50, 5000}) {
    messages.push_back(std::make_unique<Messages>(size));
    add_cache<OurCache>(messages.back().get());
    add_cache<MutexMap>(messages.back().get());
    add_cache<SharedMutexMap>(messages.back().get());
  }
  return kiv::bench::run(argc, argv);
}
