// The print context: 8-bit text becomes an array of lines.

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "base/record_layout.h"
#include "kiv_string_array.h"

KIV_LAYOUT_32(sizeof(KIV_STRING_ARRAY_PRINT_CONTEXT) == 12);
KIV_LAYOUT_32(offsetof(KIV_STRING_ARRAY_PRINT_CONTEXT, array) == 4);
KIV_LAYOUT_32(offsetof(KIV_STRING_ARRAY_PRINT_CONTEXT, line_complete) == 8);

namespace {

constexpr size_t kFormatBufferSize = 2048;

/// Adds a piece without line feeds. The flag follows the text also when the piece is lost: an array of what could be
/// kept must not make the printing component fail.
void add_piece(KIV_STRING_ARRAY_PRINT_CONTEXT *context, const char *piece, size_t length, bool ends_line) {
  // Longer than any string can be, and refused by the array.
  const auto count = static_cast<uint32_t>(std::min<size_t>(length, UINT32_MAX));
  if (context->line_complete != 0) {
    (void)kiv_string_push_limited_char_string_to_KIV_STRING_ARRAY(context->allocator, context->array, piece, count);
  } else {
    (void)kiv_string_append_limited_char_string_to_KIV_STRING_ARRAY_top(context->allocator, context->array, piece,
                                                                        count);
  }
  context->line_complete = ends_line ? 1 : 0;
}

}  // namespace

int kiv_string_array_init_KIV_STRING_ARRAY_PRINT_CONTEXT(KIV_STRING_ARRAY_PRINT_CONTEXT *context,
                                                         KIV_ALLOCATOR *allocator) {
  context->allocator = allocator;
  context->array = kiv_string_new_KIV_STRING_ARRAY(allocator);
  context->line_complete = 1;
  return context->array == nullptr ? 1 : 0;
}

void kiv_string_array_destroy_contents_KIV_STRING_ARRAY_PRINT_CONTEXT(KIV_STRING_ARRAY_PRINT_CONTEXT *context) {
  context->array = kiv_string_destroy_KIV_STRING_ARRAY(context->allocator, context->array);
}

void kiv_string_array_add_char_string(KIV_STRING_ARRAY_PRINT_CONTEXT *context, const char *text) {
  if (text == nullptr) return;
  while (const char *line_feed = std::strchr(text, '\n')) {
    add_piece(context, text, static_cast<size_t>(line_feed - text), true);
    text = line_feed + 1;
  }
  if (*text != '\0') add_piece(context, text, std::strlen(text), false);
}

int kiv_string_array_printf(KIV_STRING_ARRAY_PRINT_CONTEXT *context, const char *format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const int length = kiv_string_array_vprintf(context, format, arguments);
  va_end(arguments);
  return length;
}

int kiv_string_array_vprintf(KIV_STRING_ARRAY_PRINT_CONTEXT *context, const char *format, va_list arguments) {
  char text[kFormatBufferSize];
  const int length = std::vsnprintf(text, sizeof text, format, arguments);
  if (length >= 0) kiv_string_array_add_char_string(context, text);
  return length;
}
