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

#include "examples/kiv_inspect/ascii_text.h"
#include "kiv_i18n.h"
#include "kiv_string.h"
#include "kiv_string_convert.h"

namespace kiv::inspect {

namespace {

/// Prints what is short: a character, a number or a label.
int print_short(Sink &sink, const char *format, va_list arguments) {
  char text[128];
  const int length = std::vsnprintf(text, sizeof text, format, arguments);
  if (length > 0) sink.write(text, std::min(static_cast<size_t>(length), sizeof text - 1));
  return length;
}

int print_to_sink(void *sink, const char *format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const int length = print_short(*static_cast<Sink *>(sink), format, arguments);
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

void print_character(KIV_UNICHAR c, Sink &sink) {
  const KIV_UNICHAR text[] = {c, 0};
  if (c < 0x80 || (!is_formatting(c) && can_be_written(c))) {
    (void)kiv_string_print_verbose_control_chars(text, &sink, print_to_sink);
  } else {
    (void)print_to_sink(&sink, "\\x%" PRIX32, c);
  }
}

/// The printer of error records. Their strings come as "%S", and have to be harmless, too.
int print_harmless(void *destination, const char *format, ...) {
  auto &sink = *static_cast<Sink *>(destination);
  va_list arguments;
  va_start(arguments, format);
  int result = 0;
  if (std::strcmp(format, "%S") == 0) {
    for (const wchar_t *c = va_arg(arguments, const wchar_t *); *c != 0; ++c) {
      print_character(static_cast<KIV_UNICHAR>(*c), sink);
    }
  } else {
    result = print_short(sink, format, arguments);
  }
  va_end(arguments);
  return result;
}

}  // namespace

// Nearly all characters are plain: runs of them are written in one go.
void print_visible(const KIV_UNICHAR *text, Sink &sink) {
  char run[128];
  while (*text != 0) {
    size_t length = 0;
    while (length < sizeof run && is_plain(*text)) run[length++] = static_cast<char>(*text++);
    if (length > 0) sink.write(run, length);
    if (*text != 0 && !is_plain(*text)) print_character(*text++, sink);
  }
}

bool Output::plain_line(std::initializer_list<std::string_view> pieces) {
  size_t size = 0;
  for (const std::string_view piece : pieces) {
    if (piece.size() >= kBufferSize - size) return false;
    std::memcpy(line_ + size, piece.data(), piece.size());
    size += piece.size();
  }
  if (!is_ascii({line_, size}) || !is_printable_ascii({line_, size})) return false;
  line_[size] = '\n';
  sink_.write(line_, size + 1);
  return true;
}

Status Output::print(const char *message, const void *const *words) {
  uint32_t count = 0;
  if (kiv_i18n_prn8(nullptr, buffer_, kBufferSize, &count, message, words[0], words[1], words[2], words[3], words[4],
                    words[5], words[6], words[7]) == 0) {
    // Nearly all lines are ASCII without control characters: what is visible then is what the bytes are.
    if (kiv_string_convert_utf32_to_char_checked(buffer_, line_, kBufferSize) == 0 &&
        is_printable_ascii({line_, count})) {
      line_[count] = '\n';
      sink_.write(line_, count + 1);
      return {};
    }
    print_visible(buffer_, sink_);
  } else {
    const KIV_STRING text = kiv_i18n_prna8(nullptr, allocator_, message, words[0], words[1], words[2], words[3],
                                           words[4], words[5], words[6], words[7]);
    if (text == nullptr) return errors_.out_of_memory();
    print_visible(text, sink_);
    kiv_string_delete(allocator_, text);
  }
  sink_.write("\n", 1);
  return {};
}

Status Output::finish() {
  errno = 0;
  if (sink_.flush()) return {};
  if (errno == 0) return errors_.failure("the output cannot be written[|]");
  return errors_.system_failure("the output cannot be written: [0_S][|]");
}

void print_error(Status status, Sink &sink) { kiv_error_print(status.error, &sink, print_harmless); }

}  // namespace kiv::inspect
