#include "examples/kiv_inspect/request_line.h"

#include <cinttypes>
#include <cstdio>
#include <cstring>

#include "examples/kiv_inspect/number_arguments.h"

namespace kiv::inspect {
namespace {

/// Appends bytes to a line as long as there is room.
struct LineEnd {
  char *line;
  int size = 0;
  bool ok = true;

  void add(char c) {
    ok = ok && size < kRequestSize;
    if (ok) line[size++] = c;
  }

  void add_number(uint64_t number) {
    char digits[24];
    (void)std::snprintf(digits, sizeof digits, "%" PRIu64, number);
    for (const char *digit = digits; *digit != '\0'; ++digit) add(*digit);
  }
};

bool needs_quotes(const char *word) { return *word == '\0' || std::strpbrk(word, " \"") != nullptr; }

void add_word(const char *word, LineEnd *end) {
  const bool quoted = needs_quotes(word);
  if (quoted) end->add('"');
  for (; *word != '\0'; ++word) {
    if (*word == '\n') end->ok = false;
    if (*word == '"') end->add('"');
    end->add(*word);
  }
  if (quoted) end->add('"');
}

/// Unquotes a word that starts behind a quote, in place. Gives what is behind its last quote, which becomes its end;
/// null when there is none.
char *end_of_quoted(char *at, const char *line_end) {
  char *to = at;
  for (; at < line_end; ++at) {
    if (*at == '"') {
      if (at + 1 == line_end || at[1] != '"') {
        *to = '\0';
        return at + 1;
      }
      ++at;
    }
    *to++ = *at;
  }
  return nullptr;
}

}  // namespace

int join_request(uint64_t number, int count, const char *const *words, char (&line)[kRequestSize]) {
  LineEnd end = {line};
  end.add_number(number);
  for (int i = 0; i < count; ++i) {
    end.add(' ');
    add_word(words[i], &end);
  }
  end.add('\n');
  return end.ok ? end.size : 0;
}

int number_request(uint64_t number, std::string_view words, char (&line)[kRequestSize]) {
  LineEnd end = {line};
  end.add_number(number);
  end.add(' ');
  for (const char c : words) end.add(c);
  end.add('\n');
  return end.ok ? end.size : 0;
}

std::optional<uint64_t> take_request_number(char *line, int *size) {
  const std::string_view text(line, static_cast<size_t>(*size));
  const size_t length = text.find_first_not_of("0123456789");
  if (length == std::string_view::npos || (text[length] != ' ' && text[length] != '\n')) return std::nullopt;
  const auto number = parse_decimal(text.substr(0, length));
  if (number) {
    *size -= static_cast<int>(length);
    std::memmove(line, line + length, static_cast<size_t>(*size));
  }
  return number;
}

int split_request(char *line, int size, char *(&words)[kMostWords]) {
  char *const line_end = line + size - 1;
  if (std::memchr(line, '\0', static_cast<size_t>(size)) != nullptr) return -1;
  int count = 0;
  for (char *at = line; at < line_end;) {
    if (*at == ' ') {
      ++at;
    } else if (*at == '"') {
      words[count++] = at + 1;
      at = end_of_quoted(at + 1, line_end);
      if (at == nullptr || (at < line_end && *at != ' ')) return -1;
    } else {
      words[count++] = at;
      while (at < line_end && *at != ' ' && *at != '"') ++at;
      if (at < line_end && *at == '"') return -1;
      *at++ = '\0';
    }
  }
  return count;
}

}  // namespace kiv::inspect
