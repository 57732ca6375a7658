#include "examples/kiv_inspect/output.h"

#include <algorithm>
#include <cerrno>
#include <cinttypes>
#include <climits>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <cwchar>
#include <iterator>

#include "kiv_string.h"

namespace kiv::inspect {

namespace {

int print_to_stream(void *stream, const char *format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const int length = std::vfprintf(static_cast<std::FILE *>(stream), format, arguments);
  va_end(arguments);
  return length;
}

bool is_plain(KIV_UNICHAR c) { return c >= ' ' && c <= '~'; }

/// Characters that are printable by the C runtime, but have no shape of their own, or turn around the text behind them.
bool is_formatting(KIV_UNICHAR c) {
  constexpr struct {
    KIV_UNICHAR first, last;
  } kRanges[] = {{0xAD, 0xAD},     {0x61C, 0x61C},   {0x200B, 0x200F}, {0x2028, 0x202E},
                 {0x2060, 0x206F}, {0xFE00, 0xFE0F}, {0xFEFF, 0xFEFF}, {0xFFF9, 0xFFFB}};
  return c >= 0xE0000 || std::any_of(std::begin(kRanges), std::end(kRanges),
                                     [c](const auto &range) { return c >= range.first && c <= range.last; });
}

/// Whether the locale has the character at all.
bool can_be_written(KIV_UNICHAR c) {
  const auto wide = static_cast<wchar_t>(c);
  char bytes[MB_LEN_MAX];
  std::mbstate_t state = {};
  return static_cast<KIV_UNICHAR>(wide) == c && std::wcrtomb(bytes, wide, &state) != static_cast<size_t>(-1);
}

void print_visible(KIV_UNICHAR c) {
  const KIV_UNICHAR text[] = {c, 0};
  if (c < 0x80 || (!is_formatting(c) && can_be_written(c))) {
    (void)kiv_string_print_verbose_control_chars(text, stdout, print_to_stream);
  } else {
    std::printf("\\x%" PRIX32, c);
  }
}

}  // namespace

Outcome fail(const char *subject, Status status) {
  (void)std::fflush(stdout);
  const bool explained = status.error_number != 0;
  std::fprintf(stderr, "kiv_inspect: %s: %s%s%s\n", subject, status.problem, explained ? ": " : "",
               explained ? std::strerror(status.error_number) : "");
  return Outcome::failed;
}

Outcome finish_output() {
  errno = 0;
  if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0) return Outcome::done;
  return fail("standard output", {"it cannot be written", errno});
}

void print_address(uint64_t address, int digits) { std::printf("%0*" PRIx64, digits, address); }

void print_name(const KIV_UNICHAR *name) {
  if (std::all_of(name, name + kiv_string_length(name), is_plain)) {
    (void)kiv_string_fputs(name, stdout, print_to_stream);
    return;
  }
  for (; *name != 0; ++name) print_visible(*name);
}

}  // namespace kiv::inspect
