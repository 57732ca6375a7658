// The functions that make records: where the user's texts and the formatted internal message come from.

#include <algorithm>
#include <cstring>

#include "foundation/error_record.h"
#include "kiv_vsnprintf.h"
#include "os/platform.h"

namespace {

using namespace kiv::error;

/// Buffers of so many bytes are not grown any more.
constexpr uint64_t kLargestBuffer = 100000;

KIV_ERROR *prepend(const KIV_ERROR_CONTEXT *context, KIV_ERROR *record, const Origin &origin, const char *message) {
  const KIV_UNICHAR *english = kiv_i18n_get_en(context->messages, message);
  const KIV_UNICHAR *local = kiv_i18n_get(context->messages, message);
  if (english == nullptr || local == nullptr) return give_up(context, record);
  return add_entry(context, record, origin, english, local);
}

KIV_ERROR *prepend_formatted(const KIV_ERROR_CONTEXT *context, KIV_ERROR *record, const Origin &origin,
                             const char *message, const void *const (&a)[8]) {
  KIV_STRING english =
      kiv_i18n_prna8_en(context->messages, context->allocator, message, a[0], a[1], a[2], a[3], a[4], a[5], a[6], a[7]);
  if (english == nullptr) return give_up(context, record);
  // Formatted once more, not copied: it is another language's text that stands here.
  KIV_STRING local =
      kiv_i18n_prna8(context->messages, context->allocator, message, a[0], a[1], a[2], a[3], a[4], a[5], a[6], a[7]);
  record = local != nullptr ? add_entry(context, record, origin, english, local) : give_up(context, record);
  kiv_string_delete(context->allocator, english);
  kiv_string_delete(context->allocator, local);
  return record;
}

/// A zeroed buffer: a text that a failed print leaves without a terminator has one nevertheless.
char *new_buffer(uint64_t size) {
  return size <= SIZE_MAX ? static_cast<char *>(kiv::os::heap_calloc(1, static_cast<size_t>(size))) : nullptr;
}

/// The formatted text in a block of the C runtime's heap, cut if need be; null without memory.
char *format_internal_message(const char *format, va_list *arguments) {
  uint64_t size = 3 * uint64_t{std::strlen(format)} + 1000;
  for (;;) {
    char *buffer = new_buffer(size);
    if (buffer == nullptr) return nullptr;
    const auto room = static_cast<uint32_t>(std::min<uint64_t>(size, UINT32_MAX));
    va_list attempt;
    va_copy(attempt, *arguments);
    const int length = kiv_do_vsnprintf(buffer, room, format, attempt);
    va_end(attempt);
    buffer[size - 1] = '\0';
    const bool fits = length >= 0 && static_cast<uint64_t>(length) < size;
    if (fits || size >= kLargestBuffer) return buffer;
    kiv::os::heap_free(buffer);
    size = std::min(length <= 0 ? 2 * size : static_cast<uint64_t>(length) + 1, kLargestBuffer);
  }
}

}  // namespace

KIV_ERROR *kiv_error_create(const KIV_ERROR_CONTEXT *context, const char *internal_message, const char *source_file,
                            uint32_t source_line, const KIV_UNICHAR *binary_name, const char *binary_version,
                            const KIV_UNICHAR *help, const char *message) {
  return prepend(context, nullptr, {internal_message, source_file, source_line, binary_name, binary_version, help},
                 message);
}

KIV_ERROR *kiv_error_prepend(const KIV_ERROR_CONTEXT *context, KIV_ERROR *record, const char *internal_message,
                             const char *source_file, uint32_t source_line, const KIV_UNICHAR *binary_name,
                             const char *binary_version, const KIV_UNICHAR *help, const char *message) {
  return prepend(context, record, {internal_message, source_file, source_line, binary_name, binary_version, help},
                 message);
}

KIV_ERROR *kiv_error_create_prn8(const KIV_ERROR_CONTEXT *context, const char *internal_message,
                                 const char *source_file, uint32_t source_line, const KIV_UNICHAR *binary_name,
                                 const char *binary_version, const KIV_UNICHAR *help, const char *message,
                                 const void *a0, const void *a1, const void *a2, const void *a3, const void *a4,
                                 const void *a5, const void *a6, const void *a7) {
  return prepend_formatted(context, nullptr,
                           {internal_message, source_file, source_line, binary_name, binary_version, help}, message,
                           {a0, a1, a2, a3, a4, a5, a6, a7});
}

KIV_ERROR *kiv_error_prepend_prn8(const KIV_ERROR_CONTEXT *context, KIV_ERROR *record, const char *internal_message,
                                  const char *source_file, uint32_t source_line, const KIV_UNICHAR *binary_name,
                                  const char *binary_version, const KIV_UNICHAR *help, const char *message,
                                  const void *a0, const void *a1, const void *a2, const void *a3, const void *a4,
                                  const void *a5, const void *a6, const void *a7) {
  return prepend_formatted(context, record,
                           {internal_message, source_file, source_line, binary_name, binary_version, help}, message,
                           {a0, a1, a2, a3, a4, a5, a6, a7});
}

KIV_ERROR *kiv_error_create_or_prepend(const KIV_ERROR_CONTEXT *context, KIV_ERROR *record,
                                       const char *internal_message_format, va_list *arguments, const char *source_file,
                                       uint32_t source_line, const KIV_UNICHAR *binary_name, const char *binary_version,
                                       const KIV_UNICHAR *help, const char *message) {
  char *text =
      internal_message_format != nullptr ? format_internal_message(internal_message_format, arguments) : nullptr;
  record = prepend(context, record, {text, source_file, source_line, binary_name, binary_version, help}, message);
  kiv::os::heap_free(text);
  return record;
}
