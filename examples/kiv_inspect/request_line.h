// Requests on their way to a server: a number and a line of words.
//
// The number comes first, in decimal, with a blank behind it; each line of the reply has it, too. 0 is for what is
// about the connection: a client's first line is 0 protocol 1.0, with the version that it speaks.
//
// Words have blanks between them. One with a blank or a quote in it, or an empty one, stands in quotes, and its own
// quotes are doubled: symbols "operator new" "". Words have no line feeds and no zeros. All other bytes are their own.
#ifndef KIV_INSPECT_REQUEST_LINE_H
#define KIV_INSPECT_REQUEST_LINE_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace kiv::inspect {

/// The longest request, its line feed included.
inline constexpr int kRequestSize = 4096;

/// A word takes a byte at least, and so does what is in front of it.
inline constexpr int kMostWords = kRequestSize / 2;

/// The first word of a client.
inline constexpr char kProtocol[] = "protocol";

/// Makes the line of a request; its size, or 0 when a word cannot be in one or the line gets too long.
int join_request(uint64_t number, int count, const char *const *words, char (&line)[kRequestSize]);

/// The same of words that make a line already; not 0 for a line only because it is none of words.
int number_request(uint64_t number, std::string_view words, char (&line)[kRequestSize]);

/// Takes the number out of a line, and gives the size of what is left; none when there is no number.
std::optional<uint64_t> take_request_number(char *line, int *size);

/// Cuts a line without its number, of which the line feed is the last byte, into words within it. Their number, or -1
/// when it is no request.
int split_request(char *line, int size, char *(&words)[kMostWords]);

}  // namespace kiv::inspect

#endif
