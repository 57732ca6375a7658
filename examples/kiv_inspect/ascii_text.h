// Nearly all texts are ASCII, which can be told eight characters at a time.
#ifndef KIV_INSPECT_ASCII_TEXT_H
#define KIV_INSPECT_ASCII_TEXT_H

#include <cstdint>
#include <cstring>
#include <string_view>

namespace kiv::inspect {

/// Whether holds(word) for all words of eight characters of the text. The last one is filled up with blanks.
bool all_words(std::string_view text, auto holds) {
  uint64_t word = 0;
  for (; text.size() >= sizeof word; text.remove_prefix(sizeof word)) {
    std::memcpy(&word, text.data(), sizeof word);
    if (!holds(word)) return false;
  }
  word = 0x2020202020202020;
  if (!text.empty()) std::memcpy(&word, text.data(), text.size());
  return holds(word);
}

inline bool is_ascii(std::string_view text) {
  return all_words(text, [](uint64_t word) { return (word & 0x8080808080808080) == 0; });
}

/// Whether all characters are from blank to "~". REQUIRES: is_ascii(text).
inline bool is_printable_ascii(std::string_view text) {
  return all_words(text, [](uint64_t word) {
    // A character below blank borrows, "\x7F" carries into its upper bit: no other ASCII character does, and so none
    // of them can hide one beside it.
    return (((word - 0x2020202020202020) | (word + 0x0101010101010101)) & 0x8080808080808080) == 0;
  });
}

}  // namespace kiv::inspect

#endif
