// Requests on their way to a server: a line of words.
//
// Words have blanks between them. One with a blank or a quote in it, or an empty one, stands in quotes, and its own
// quotes are doubled: symbols "operator new" "". Words have no line feeds and no zeros. All other bytes are their own.
#ifndef KIV_INSPECT_REQUEST_LINE_H
#define KIV_INSPECT_REQUEST_LINE_H

#include <cstddef>

namespace kiv::inspect {

/// The longest request, its line feed included.
inline constexpr int kRequestSize = 4096;

/// A word takes a byte at least, and so does what is in front of it.
inline constexpr int kMostWords = kRequestSize / 2;

/// Makes the line of a request; its size, or 0 when a word cannot be in one or the line gets too long.
int join_request(int count, const char *const *words, char (&line)[kRequestSize]);

/// Cuts a line, of which the line feed is the last byte, into words within it. Their number, or -1 when it is no
/// request.
int split_request(char *line, int size, char *(&words)[kMostWords]);

}  // namespace kiv::inspect

#endif
