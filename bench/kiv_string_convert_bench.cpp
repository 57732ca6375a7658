// Conversions beside ICU, iconv and utf8cpp. An operation is one character; each text is converted whole, between
// buffers that are already there. Texts of 1 MiB in UTF-8:
//
//   ascii   letters and spaces            latin   one letter in five is accented, at random
//   cjk     three bytes a character       emoji   four bytes a character
//   mixed   words of all of these         symbol  a single name of 24 characters
//
// "hand" is a copy of as many bytes as the result has, by memcpy: the speed of memory, at which ASCII is to be
// converted. ICU goes its fastest way: its macros between UTF-8 and UTF-32, where its functions would go through
// UTF-16.

#include <iconv.h>
#include <unicode/ustring.h>
#include <unicode/utf8.h>
#include <utf8.h>

#include <cstdint>
#include <cstring>
#include <cwchar>
#include <random>
#include <string>
#include <vector>

#include "bench_support.h"
#include "kiv_string_convert.h"

using kiv::bench::require;
using kiv::bench::Stopwatch;

namespace {

constexpr size_t kTextBytes = 1 << 20;

using Utf8 = std::vector<char>;
using Utf16 = std::vector<uint16_t>;
using Utf32 = std::vector<KIV_UNICHAR>;

/// One text in all encodings, terminated.
struct Text {
  const char *name;
  Utf32 utf32;
  Utf16 utf16;
  Utf8 utf8;
};

// --- The texts -------------------------------------------------------------------------------------------------------

struct Letters {
  std::mt19937 random{1};

  uint32_t below(uint32_t limit) { return static_cast<uint32_t>(random() % limit); }
  uint32_t ascii() { return below(6) == 0 ? ' ' : 'a' + below(26); }
  uint32_t latin() { return below(5) == 0 ? 0xC0 + below(0x40) : ascii(); }
  uint32_t cjk() { return 0x4E00 + below(0x5000); }
  uint32_t emoji() { return 0x1F300 + below(0x300); }
  uint32_t mixed() {
    if (word_left == 0) word_left = 1 + below(12), word_kind = below(4);
    --word_left;
    return word_kind == 0 ? ascii() : word_kind == 1 ? latin() : word_kind == 2 ? cjk() : emoji();
  }

  uint32_t word_left = 0, word_kind = 0;
};

void append(Text &text, uint32_t c) {
  text.utf32.push_back(c);
  utf8::unchecked::append(c, std::back_inserter(text.utf8));
  if (c >= 0x10000) text.utf16.push_back(static_cast<uint16_t>(0xD7C0 + (c >> 10)));
  text.utf16.push_back(static_cast<uint16_t>(c < 0x10000 ? c : 0xDC00 | (c & 0x3FF)));
}

Text make_text(const char *name, uint32_t (Letters::*letter)(), size_t bytes) {
  Letters letters;
  Text text{name, {}, {}, {}};
  while (text.utf8.size() < bytes) append(text, (letters.*letter)());
  text.utf32.push_back(0), text.utf16.push_back(0), text.utf8.push_back(0);
  return text;
}

const std::vector<Text> &texts() {
  static const std::vector<Text> all{
      make_text("ascii", &Letters::ascii, kTextBytes), make_text("latin", &Letters::latin, kTextBytes),
      make_text("cjk", &Letters::cjk, kTextBytes),     make_text("emoji", &Letters::emoji, kTextBytes),
      make_text("mixed", &Letters::mixed, kTextBytes), make_text("symbol", &Letters::ascii, 24)};
  return all;
}

// --- Contestants: from source to destination, both with room for a terminator ----------------------------------------

// The source is a terminated text: who wants a length has to find it.
int32_t length(const Utf8 &text) { return static_cast<int32_t>(std::strlen(text.data()) + 1); }
int32_t length(const Utf16 &text) { return u_strlen(reinterpret_cast<const UChar *>(text.data())) + 1; }
int32_t length(const Utf32 &text) {
  static_assert(sizeof(wchar_t) == sizeof(KIV_UNICHAR));
  return static_cast<int32_t>(std::wcslen(reinterpret_cast<const wchar_t *>(text.data())) + 1);
}

struct Ours {
  static constexpr const char *kName = "ours";
  static void convert(const Utf8 &from, Utf32 &to) {
    kiv_string_convert_utf8_to_utf32(from.data(), to.data(), static_cast<uint32_t>(to.size()));
  }
  static void convert(const Utf32 &from, Utf8 &to) {
    kiv_string_convert_utf32_to_utf8(from.data(), to.data(), static_cast<uint32_t>(to.size()));
  }
  static void convert(const Utf16 &from, Utf32 &to) {
    kiv_string_convert_utf16_to_utf32(from.data(), to.data(), static_cast<uint32_t>(to.size()));
  }
  static void convert(const Utf32 &from, Utf16 &to) {
    kiv_string_convert_utf32_to_utf16(from.data(), to.data(), static_cast<uint32_t>(to.size()));
  }
};

struct Icu {
  static constexpr const char *kName = "icu";

  static void convert(const Utf8 &from, Utf32 &to) {
    const auto *bytes = reinterpret_cast<const uint8_t *>(from.data());
    KIV_UNICHAR *out = to.data();
    const int32_t count = length(from);
    for (int32_t i = 0; i < count;) {
      UChar32 c;
      U8_NEXT_OR_FFFD(bytes, i, count, c);
      *out++ = static_cast<KIV_UNICHAR>(c);
    }
  }
  static void convert(const Utf32 &from, Utf8 &to) {
    auto *bytes = reinterpret_cast<uint8_t *>(to.data());
    int32_t i = 0;
    const auto capacity = static_cast<int32_t>(to.size());
    UBool error = 0;
    const KIV_UNICHAR *end = from.data() + length(from);
    for (const KIV_UNICHAR *c = from.data(); c != end; ++c) U8_APPEND(bytes, i, capacity, *c, error);
    require(!error, kName, "append");
  }
  static void convert(const Utf16 &from, Utf32 &to) {
    UErrorCode status = U_ZERO_ERROR;
    u_strToUTF32(reinterpret_cast<UChar32 *>(to.data()), static_cast<int32_t>(to.size()), nullptr,
                 reinterpret_cast<const UChar *>(from.data()), length(from), &status);
  }
  static void convert(const Utf32 &from, Utf16 &to) {
    UErrorCode status = U_ZERO_ERROR;
    u_strFromUTF32(reinterpret_cast<UChar *>(to.data()), static_cast<int32_t>(to.size()), nullptr,
                   reinterpret_cast<const UChar32 *>(from.data()), length(from), &status);
  }
};

/// ICU's functions, through UTF-16.
struct IcuFunctions {
  static constexpr const char *kName = "icu_pivot";

  static UChar *pivot() {
    static std::vector<UChar> buffer(kTextBytes + 64);
    return buffer.data();
  }
  static void convert(const Utf8 &from, Utf32 &to) {
    UErrorCode status = U_ZERO_ERROR;
    int32_t units = 0;
    u_strFromUTF8(pivot(), kTextBytes + 64, &units, from.data(), length(from), &status);
    u_strToUTF32(reinterpret_cast<UChar32 *>(to.data()), static_cast<int32_t>(to.size()), nullptr, pivot(), units,
                 &status);
  }
  static void convert(const Utf32 &from, Utf8 &to) {
    UErrorCode status = U_ZERO_ERROR;
    int32_t units = 0;
    u_strFromUTF32(pivot(), kTextBytes + 64, &units, reinterpret_cast<const UChar32 *>(from.data()), length(from),
                   &status);
    u_strToUTF8(to.data(), static_cast<int32_t>(to.size()), nullptr, pivot(), units, &status);
  }
};

struct Iconv {
  static constexpr const char *kName = "iconv";

  template <class Unit>
  static constexpr const char *kEncoding = sizeof(Unit) == 1   ? "UTF-8"
                                           : sizeof(Unit) == 2 ? "UTF-16LE"
                                                               : "UTF-32LE";
  template <class From, class To>
  static void convert(const std::vector<From> &from, std::vector<To> &to) {
    static const iconv_t descriptor = iconv_open(kEncoding<To>, kEncoding<From>);
    auto *in = const_cast<char *>(reinterpret_cast<const char *>(from.data()));
    auto *out = reinterpret_cast<char *>(to.data());
    size_t in_left = static_cast<size_t>(length(from)) * sizeof(From), out_left = to.size() * sizeof(To);
    require(iconv(descriptor, &in, &in_left, &out, &out_left) == 0, kName, "iconv");
  }
};

struct Utf8Cpp {
  static constexpr const char *kName = "utf8cpp";
  static void convert(const Utf8 &from, Utf32 &to) {
    utf8::unchecked::utf8to32(from.data(), from.data() + length(from), to.data());
  }
  static void convert(const Utf32 &from, Utf8 &to) {
    utf8::unchecked::utf32to8(from.data(), from.data() + length(from), to.data());
  }
};

struct Copy {
  static constexpr const char *kName = "hand";
};

template <class Contestant, class From, class To>
void add(const char *operation, const Text &text, const std::vector<From> &from, const std::vector<To> &expected) {
  const std::string name = std::string("string_convert/") + operation + '/' + text.name + '/' + Contestant::kName;
  const size_t times = 1 + kTextBytes / 4 / expected.size();
  kiv::bench::add(name, 40, times * text.utf32.size(), [name, times, &from, &expected] {
    std::vector<To> to(expected.size());
    if constexpr (std::is_same_v<Contestant, Copy>) {
      const Stopwatch watch;
      for (size_t i = 0; i < times; ++i) {
        std::memcpy(to.data(), expected.data(), expected.size() * sizeof(To));
        benchmark::DoNotOptimize(to.data());
        benchmark::ClobberMemory();
      }
      return watch.seconds();
    } else {
      Contestant::convert(from, to);
      require(to == expected, name, "the text");
      const Stopwatch watch;
      for (size_t i = 0; i < times; ++i) {
        Contestant::convert(from, to);
        benchmark::DoNotOptimize(to.data());
        benchmark::ClobberMemory();
      }
      return watch.seconds();
    }
  });
}

template <class... Contestants, class From, class To>
void add_all(const char *operation, std::vector<From> Text::*from, std::vector<To> Text::*to) {
  for (const Text &text : texts()) (add<Contestants>(operation, text, text.*from, text.*to), ...);
}

// --- Counting --------------------------------------------------------------------------------------------------------

template <class Count>
void add_count(const char *operation, const Text &text, const char *contestant, size_t expected, Count count) {
  const std::string name = std::string("string_convert/") + operation + '/' + text.name + '/' + contestant;
  const size_t times = 1 + kTextBytes / 4 / text.utf8.size();
  kiv::bench::add(name, 40, times * text.utf32.size(), [=] {
    size_t counted = 0;
    const Stopwatch watch;
    for (size_t i = 0; i < times; ++i) counted += count();
    const double seconds = watch.seconds();
    require(counted == times * expected, name, "the count");
    return seconds;
  });
}

void add_counts() {
  for (const Text &text : texts()) {
    const size_t length = text.utf32.size() - 1;
    add_count("count_utf8", text, "ours", length,
              [&] { return kiv_string_nr_of_wide_chars_in_utf8_string(text.utf8.data()); });
    add_count("count_utf8", text, "utf8cpp", length, [&] {
      return static_cast<size_t>(
          utf8::unchecked::distance(text.utf8.data(), text.utf8.data() + std::strlen(text.utf8.data())));
    });
  }
  for (const Text &text : texts()) {
    const size_t length = text.utf32.size() - 1;
    add_count("count_utf16", text, "ours", length,
              [&] { return kiv_string_nr_of_wide_chars_in_utf16_string(text.utf16.data()); });
    add_count("count_utf16", text, "icu", length, [&] {
      return static_cast<size_t>(u_countChar32(reinterpret_cast<const UChar *>(text.utf16.data()), -1));
    });
  }
  for (const Text &text : texts()) {
    const auto *string = text.utf32.data();
    add_count("bytes_utf8", text, "ours", text.utf8.size() - 1,
              [=] { return kiv_string_nr_of_utf8_bytes_for_wide_char_string_representation(string); });
    add_count("bytes_utf8", text, "icu", text.utf8.size() - 1, [=] {
      size_t count = 0;
      for (const KIV_UNICHAR *c = string; *c != 0; ++c)
        count += static_cast<size_t>(U8_LENGTH(static_cast<UChar32>(*c)));
      return count;
    });
  }
  for (const Text &text : texts()) {
    const auto *string = text.utf32.data();
    add_count("words_utf16", text, "ours", text.utf16.size() - 1,
              [=] { return kiv_string_nr_of_utf16_words_for_wide_char_string_representation(string); });
    add_count("words_utf16", text, "icu", text.utf16.size() - 1, [=] {
      size_t count = 0;
      for (const KIV_UNICHAR *c = string; *c != 0; ++c) count += static_cast<size_t>(U16_LENGTH(*c));
      return count;
    });
  }
}

}  // namespace

int main(int argc, char **argv) {
  kiv::bench::keep_heap();
  add_all<Ours, Icu, IcuFunctions, Iconv, Utf8Cpp, Copy>("utf8_to_utf32", &Text::utf8, &Text::utf32);
  add_all<Ours, Icu, IcuFunctions, Iconv, Utf8Cpp, Copy>("utf32_to_utf8", &Text::utf32, &Text::utf8);
  add_all<Ours, Icu, Iconv, Copy>("utf16_to_utf32", &Text::utf16, &Text::utf32);
  add_all<Ours, Icu, Iconv, Copy>("utf32_to_utf16", &Text::utf32, &Text::utf16);
  add_counts();
  return kiv::bench::run(argc, argv);
}
