// What the conversions need, in units without the terminator, however long the text is.
#ifndef KIV_TEXT_CONVERT_COUNT_H
#define KIV_TEXT_CONVERT_COUNT_H

#include <cstddef>

#include "kiv_types.h"

namespace kiv {

size_t wide_chars_in_utf8(const char *utf8);
size_t utf8_bytes_of(const KIV_UNICHAR *string);
size_t wide_chars_in_utf16(const uint16_t *utf16);
size_t utf16_words_of(const KIV_UNICHAR *string);

}  // namespace kiv

#endif
