// One line of text from an argument vector, for systems on which programs get a line.
//
// Every argument stands between two double quotes, one space apart from the next; a double quote within an argument
// becomes three, which CommandLineToArgvW and C runtimes from before 2008 read as one: the first ends the quoted part,
// and of quotes in a row the third is a character. Nothing else is escaped, backslashes neither: that is what programs
// which take their line apart themselves rely on.
#ifndef KIV_OS_COMMAND_LINE_H
#define KIV_OS_COMMAND_LINE_H

#include <cstddef>

namespace kiv::os {

/// The bytes of the line, with the terminator; or some number above the limit when they are more than that. No more of
/// the arguments is looked at than the limit takes. REQUIRES: limit below SIZE_MAX / 2.
inline size_t command_line_size(const char *const *argv, size_t limit) {
  size_t size = 0;
  for (; *argv != nullptr && size <= limit; ++argv) {
    size += 3;  // the quotes, and a space or the terminator
    for (const char *c = *argv; *c != '\0' && size <= limit; ++c) size += *c == '"' ? 3 : 1;
  }
  return size != 0 ? size : 1;
}

/// Writes as many bytes as command_line_size() gives.
inline void write_command_line(const char *const *argv, char *line) {
  char *end = line;
  for (; *argv != nullptr; ++argv) {
    if (end != line) *end++ = ' ';
    *end++ = '"';
    for (const char *c = *argv; *c != '\0'; ++c) {
      if (*c == '"') *end++ = '"', *end++ = '"';
      *end++ = *c;
    }
    *end++ = '"';
  }
  *end = '\0';
}

}  // namespace kiv::os

#endif
