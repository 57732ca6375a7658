// Printing strings with their control characters made visible.

#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cwctype>

#include "kiv_string.h"
#include "kiv_string_convert.h"
#include "text/wide_text.h"

namespace kiv {
namespace {

/// A printer that remembers whether a print failed, and errno as that print left it.
struct Printing {
  void *destination;
  KIV_PRINTER printer;
  int status = 0;

  template <class... Arguments>
  bool print(const char *format, Arguments... arguments) {
    if (printer(destination, format, arguments...) >= 0) return true;
    status = errno;
    return false;
  }
};

constexpr const char *kHexadecimal = "\\x%lX";

/// The control character whose sign is `sign`.
bool print_caret(Printing &printing, int sign) { return printing.print("^") && printing.print("%c", sign); }

bool print_visible(Printing &printing, KIV_UNICHAR c) {
  if (c < 32) return print_caret(printing, static_cast<int>(c) + 64);
  // The classification of 16-bit systems, on every system.
  if (std::iswprint(static_cast<wint_t>(c & 0xFFFFu)) == 0) return printing.print(kHexadecimal, (unsigned long)c);
  const KIV_UNICHAR text[] = {c, 0};
  WideUnit wide[3];
  convert_to_wide(text, wide, 3);
  return printing.print("%S", wide);
}

/// Bytes from 0x80 on are below 32: they are signed.
bool print_visible(Printing &printing, char c) {
  const auto byte = static_cast<int8_t>(c);
  if (byte < 32) return print_caret(printing, static_cast<uint8_t>(byte + 64));
  return std::isprint(byte) != 0 ? printing.print("%c", byte) : printing.print(kHexadecimal, (unsigned long)byte);
}

template <class Unit>
int print_all_visible(const Unit *s, void *destination, KIV_PRINTER printer) {
  Printing printing{destination, printer};
  while (*s != 0 && print_visible(printing, *s)) ++s;
  return printing.status;
}

/// Writes the byte at `place` and gives the end of what was written. sprintf terminates what it writes.
char *write_visible(char *place, char c) {
  const auto byte = static_cast<int8_t>(c);
  if (byte >= 32) {
    if (std::isprint(byte) == 0) return place + std::sprintf(place, kHexadecimal, (unsigned long)byte);
    *place = c;
    return place + 1;
  }
  // What is in the buffer decides, not the byte: callers say by its contents how control characters are to look.
  switch (*place) {
    case '\t':
    case '\n':
    case '\r':
      *place = c;
      return place + 1;
    case 0:
      return place + std::sprintf(place, "^@");
    default:
      place[0] = '^';
      place[1] = static_cast<char>(byte + 0x40);
      return place + 2;
  }
}

}  // namespace
}  // namespace kiv

int kiv_string_print_verbose_control_chars(const KIV_UNICHAR *s, void *destination, KIV_PRINTER printer) {
  return kiv::print_all_visible(s, destination, printer);
}

int kiv_string_print_char_s_verbose_control_chars(const char *s, void *destination, KIV_PRINTER printer) {
  return kiv::print_all_visible(s, destination, printer);
}

uint32_t kiv_string_sprint_as_8bit_chars(KIV_ALLOCATOR *allocator, char *buffer, const KIV_UNICHAR *s) {
  char *chars = kiv_string_convert_utf32_to_char_a(allocator, s);
  if (chars == nullptr) {
    // The text says what happened to whoever shows the buffer; the count is that of the characters converted.
    std::sprintf(buffer, "<null>");
    return 0;
  }
  char *end = buffer;
  for (const char *c = chars; *c != 0; ++c) end = kiv::write_visible(end, *c);
  allocator->free(allocator, chars);
  return static_cast<uint32_t>(end - buffer);
}
