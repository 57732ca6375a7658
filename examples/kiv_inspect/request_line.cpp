#include "examples/kiv_inspect/request_line.h"

#include <cstring>

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

int join_request(int count, const char *const *words, char (&line)[kRequestSize]) {
  LineEnd end = {line};
  for (int i = 0; i < count; ++i) {
    if (i > 0) end.add(' ');
    add_word(words[i], &end);
  }
  end.add('\n');
  return end.ok ? end.size : 0;
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
