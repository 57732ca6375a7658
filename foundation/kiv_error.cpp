// Error records: growing, copying and deleting them.
//
// A failure in here ends a record at once: nobody could be told of a lesser one.

#include "kiv_error.h"

#include <cstring>

#include "base/record_layout.h"
#include "foundation/error_record.h"
#include "kiv_string_convert.h"

KIV_LAYOUT_32(sizeof(KIV_ERROR_CONTEXT) == 8 && offsetof(KIV_ERROR_CONTEXT, messages) == 4);
KIV_LAYOUT_32(sizeof(KIV_ERROR) == 12 && offsetof(KIV_ERROR, capacity) == 4 && offsetof(KIV_ERROR, entries) == 8);
KIV_LAYOUT_32(sizeof(KIV_ERROR_ENTRY) == 32 && offsetof(KIV_ERROR_ENTRY, source_file) == 4);
KIV_LAYOUT_32(offsetof(KIV_ERROR_ENTRY, source_line) == 8 && offsetof(KIV_ERROR_ENTRY, binary_name) == 12);
KIV_LAYOUT_32(offsetof(KIV_ERROR_ENTRY, binary_version) == 16);
KIV_LAYOUT_32(offsetof(KIV_ERROR_ENTRY, user_message_english) == 20);
KIV_LAYOUT_32(offsetof(KIV_ERROR_ENTRY, user_message_local) == 24);
KIV_LAYOUT_32(offsetof(KIV_ERROR_ENTRY, user_help) == 28);

namespace kiv::error {
namespace {

constexpr uint32_t kEntrySize = sizeof(KIV_ERROR_ENTRY);

/// The strings of an entry, in the order in which they are made, copied and freed.
constexpr KIV_STRING KIV_ERROR_ENTRY::*kStrings[] = {
    &KIV_ERROR_ENTRY::internal_message, &KIV_ERROR_ENTRY::source_file,          &KIV_ERROR_ENTRY::binary_name,
    &KIV_ERROR_ENTRY::binary_version,   &KIV_ERROR_ENTRY::user_message_english, &KIV_ERROR_ENTRY::user_message_local,
    &KIV_ERROR_ENTRY::user_help,
};

template <size_t kSize>
struct Text {
  KIV_UNICHAR units[kSize];
};

template <size_t kSize>
consteval Text<kSize> widen(const char (&ascii)[kSize]) {
  Text<kSize> text = {};
  for (size_t i = 0; i < kSize; ++i) text.units[i] = static_cast<unsigned char>(ascii[i]);
  return text;
}

constexpr auto kOutOfMemory = widen("Internal error: Out of memory in error object handling.");
constexpr auto kEmpty = widen("");

/// The static record never changes, the types of its parts are those of all records.
template <class T>
constexpr T *unlocked(const T *constant) {
  return const_cast<T *>(constant);
}

constexpr KIV_ERROR_ENTRY kStaticEntry = {
    unlocked(kOutOfMemory.units), unlocked(kEmpty.units), UINT32_MAX,
    unlocked(kEmpty.units),       unlocked(kEmpty.units), unlocked(kOutOfMemory.units),
    unlocked(kOutOfMemory.units), unlocked(kEmpty.units),
};
constexpr KIV_ERROR kStaticRecord = {1, kEntrySize, unlocked(&kStaticEntry)};

bool is_static(const KIV_ERROR *record) { return record == &kStaticRecord; }

KIV_ERROR *new_record(KIV_ALLOCATOR *allocator) {
  auto *record = static_cast<KIV_ERROR *>(allocator->alloc(allocator, sizeof(KIV_ERROR)));
  if (record != nullptr) *record = {0, 0, nullptr};
  return record;
}

/// Puts an entry of nulls before the others; false without memory.
bool push_entry(KIV_ALLOCATOR *allocator, KIV_ERROR *record) {
  if (record->capacity > UINT32_MAX - kEntrySize) return false;
  const uint32_t capacity = record->capacity + kEntrySize;
  auto *entries = static_cast<KIV_ERROR_ENTRY *>(allocator->realloc(allocator, record->entries, capacity));
  if (entries == nullptr) return false;
  std::memmove(entries + 1, entries, size_t{entries_of(record)} * kEntrySize);
  entries[0] = {};
  record->entries = entries;
  record->capacity = capacity;
  ++record->count;  // never reaches the top bit: so many entries have no capacity
  return true;
}

bool fill(KIV_ALLOCATOR *allocator, KIV_ERROR_ENTRY *entry, const Origin &origin, const KIV_UNICHAR *english,
          const KIV_UNICHAR *local) {
  const auto convert = [allocator](KIV_STRING *string, const char *bytes) {
    *string = kiv_string_convert_char_to_utf32_a(allocator, bytes != nullptr ? bytes : "");
    return *string != nullptr;
  };
  const auto copy = [allocator](KIV_STRING *string, const KIV_UNICHAR *units) {
    *string = kiv_string_dup(allocator, units);
    return *string != nullptr;
  };
  entry->source_line = origin.source_line;
  return convert(&entry->internal_message, origin.internal_message) &&
         convert(&entry->source_file, origin.source_file) && copy(&entry->binary_name, origin.binary_name) &&
         convert(&entry->binary_version, origin.binary_version) && copy(&entry->user_message_english, english) &&
         copy(&entry->user_message_local, local) && copy(&entry->user_help, origin.help);
}

bool copy_entry(KIV_ALLOCATOR *allocator, KIV_ERROR_ENTRY *copy, const KIV_ERROR_ENTRY &entry) {
  copy->source_line = entry.source_line;
  for (const auto string : kStrings) {
    copy->*string = kiv_string_dup(allocator, entry.*string);
    if (copy->*string == nullptr) return false;
  }
  return true;
}

}  // namespace

KIV_ERROR *static_record() { return unlocked(&kStaticRecord); }

KIV_ERROR *add_entry(const KIV_ERROR_CONTEXT *context, KIV_ERROR *record, const Origin &origin,
                     const KIV_UNICHAR *english, const KIV_UNICHAR *local) {
  KIV_ALLOCATOR *allocator = context->allocator;
  if (is_static(record)) return record;
  if (record == nullptr) record = new_record(allocator);
  if (record == nullptr) return static_record();
  if (!push_entry(allocator, record)) {
    // Only the record goes. Entries and array stay behind, for whoever looks at the memory afterwards: an allocator
    // that is emptied as a whole takes them back.
    allocator->free(allocator, record);
    return static_record();
  }
  if (!fill(allocator, &record->entries[0], origin, english, local)) return give_up(context, record);
  return record;
}

}  // namespace kiv::error

using namespace kiv::error;

KIV_ERROR_CONTEXT *kiv_error_init(KIV_ALLOCATOR *allocator, KIV_I18N *messages) {
  if (allocator == nullptr) return nullptr;
  auto *context = static_cast<KIV_ERROR_CONTEXT *>(allocator->alloc(allocator, sizeof(KIV_ERROR_CONTEXT)));
  if (context != nullptr) *context = {allocator, messages};
  return context;
}

void kiv_error_exit(KIV_ERROR_CONTEXT *context) {
  if (context != nullptr) context->allocator->free(context->allocator, context);
}

void kiv_error_delete(const KIV_ERROR_CONTEXT *context, KIV_ERROR *record) {
  if (record == nullptr || is_static(record)) return;
  KIV_ALLOCATOR *allocator = context->allocator;
  for (uint32_t i = 0; i < entries_of(record); ++i) {
    for (const auto string : kStrings) kiv_string_delete(allocator, record->entries[i].*string);
  }
  allocator->free(allocator, record->entries);
  allocator->free(allocator, record);
}

KIV_ERROR *kiv_error_deep_copy(const KIV_ERROR_CONTEXT *context, KIV_ERROR *record) {
  if (record == nullptr || entries_of(record) == 0) return nullptr;
  if (is_static(record)) return record;
  KIV_ALLOCATOR *allocator = context->allocator;
  KIV_ERROR *copy = new_record(allocator);
  if (copy == nullptr) return static_record();
  copy->count = record->count;
  copy->capacity = record->capacity;
  copy->entries = static_cast<KIV_ERROR_ENTRY *>(allocator->alloc(allocator, record->capacity));
  if (copy->entries == nullptr) {
    allocator->free(allocator, copy);
    return static_record();
  }
  for (uint32_t i = 0; i < entries_of(record); ++i) {
    if (copy_entry(allocator, &copy->entries[i], record->entries[i])) continue;
    // The source goes and the copy stays behind: meant so, as the header tells. What is whole of the copy can be read
    // in a debugger.
    copy->count = (record->count & ~KIV_ERROR_COUNT_MASK) | i;
    copy->capacity = i * kEntrySize;
    return give_up(context, record);
  }
  return copy;
}
