#include "kiv_error.h"

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#ifdef _WIN32
#include <windows.h>
#endif

#include "gtest/gtest.h"
#include "kiv_hash.h"
#include "kiv_message.h"
#include "kiv_vsnprintf.h"
#include "tests/support/counting_allocator.h"
#include "tests/support/guarded_page.h"
#include "tests/support/unistring.h"

namespace {

using namespace kiv::test;

const KIV_UNICHAR kBinary[] = {'3', '3', '3', 0}, kHelp[] = {'6', '6', '6', '6', '6', '6', 0};
constexpr char kMessage[] = "55555[|]";

constexpr auto kEntrySize = static_cast<uint32_t>(sizeof(KIV_ERROR_ENTRY));

/// A context, and a message handle whose memory does not fail.
struct Errors {
  explicit Errors(CountingAllocator *allocator) : context{allocator->record(), handle_of_all()} {}

  static KIV_I18N *handle_of_all() {
    static KIV_ALLOCATOR heap;
    static KIV_I18N *handle = kiv_i18n_prn_init(kiv_allocator_default_new(&heap));
    return handle;
  }

  KIV_ERROR *create(const char *internal = "1", const char *message = kMessage) const {
    return kiv_error_create(&context, internal, "22", 7, kBinary, "4444", kHelp, message);
  }
  KIV_ERROR *prepend_formatted(KIV_ERROR *record, const char *message = "[0_s][|]") const {
    return kiv_error_prepend_prn8(&context, record, "1", "22", 7, kBinary, "4444", kHelp, message, KIV_ARGS("55555"));
  }
  /// The list has to be as before afterwards.
  KIV_ERROR *create_or_prepend(KIV_ERROR *record, const char *message, const char *format, ...) const {
    va_list list;
    va_start(list, format);
    record = kiv_error_create_or_prepend(&context, record, format, &list, "22", 7, kBinary, "4444", kHelp, message);
    char again[8] = "";
    std::vsnprintf(again, sizeof again, format, list);
    va_end(list);
    if (record->entries[0].source_line == 7) {
      const std::u32string text = text_of(record->entries[0].internal_message).substr(0, 7);
      EXPECT_EQ(std::string(text.begin(), text.end()), again);
    }
    return record;
  }

  KIV_ERROR_CONTEXT context;
};

KIV_ERROR *static_record() {
  CountingAllocator allocator;
  allocator.fail_at(1);
  return Errors(&allocator).create();
}

/// Collects prints, or the formats of prints.
struct Printed {
  std::string text;
  bool formats;
};

int print(void *destination, const char *format, ...) {
  auto *out = static_cast<Printed *>(destination);
  va_list arguments;
  va_start(arguments, format);
  char text[64] = "";
  if (out->formats) {
    out->text += format;
  } else if (std::strcmp(format, "%S") == 0) {
    for (const wchar_t *s = va_arg(arguments, const wchar_t *); *s != 0; ++s) out->text += static_cast<char>(*s);
  } else {
    std::vsnprintf(text, sizeof text, format, arguments);
  }
  va_end(arguments);
  out->text += text;
  return 0;
}

std::string printed(const KIV_ERROR *record, bool formats = false) {
  Printed result = {"", formats};
  kiv_error_print(record, &result, print);
  return result.text;
}

std::string entry(const std::string &internal, const char *file, const char *line, const char *binary,
                  const char *version, const std::string &message, const char *help) {
  return "Internal error msg    : " + internal + "\nSource file           : " + file +
         "\nSource line           : " + line + "\nBinary name           : " + binary +
         "\nBinary version        : " + version + "\nUser message (English): " + message +
         "\nUser message (Local)  : " + message + "\nUser help             : " + help + "\n";
}
std::string entry(const std::string &internal) { return entry(internal, "22", "7", "333", "4444", "55555", "666666"); }

constexpr char kSeparator[] = "+++++++++++++++++++++++++++++++++\n";
constexpr char kOutOfMemory[] = "Internal error: Out of memory in error object handling.";

TEST(Error, PrintsNewestEntryFirst) {
  CountingAllocator allocator;
  const Errors errors(&allocator);
  KIV_ERROR *record = errors.create("inner");
  record->count |= 0x80000000u;  // not ours: kept by everything
  record = errors.prepend_formatted(record);
  record = errors.create_or_prepend(record, kMessage, "%s %d", "outer", 5);
  EXPECT_EQ(record->count, 0x80000003u);
  EXPECT_EQ(record->capacity, 3 * kEntrySize);
  EXPECT_EQ(allocator.size_of(record->entries), 3 * kEntrySize);
  const std::string text = entry("outer 5") + kSeparator + entry("1") + kSeparator + entry("inner");
  EXPECT_EQ(printed(record), text);
  KIV_ERROR *copy = kiv_error_deep_copy(&errors.context, record);
  kiv_error_delete(&errors.context, record);
  EXPECT_EQ(copy->count, 0x80000003u);
  EXPECT_EQ(copy->capacity, 3 * kEntrySize);
  EXPECT_EQ(printed(copy), text);
  copy->count = 1;
  EXPECT_EQ(printed(copy, true), entry("%S", "%S", "%lu", "%S", "%S", "%S", "%S"));
  copy->count = 0x80000000u;
  EXPECT_EQ(kiv_error_deep_copy(&errors.context, copy), nullptr);
  EXPECT_EQ(printed(copy) + printed(nullptr), "");
  copy->count = 0x80000003u;
  kiv_error_delete(&errors.context, copy);
  EXPECT_EQ(kiv_error_deep_copy(&errors.context, nullptr), nullptr);
}

TEST(Error, NullTextsAreEmptyOnes) {
  CountingAllocator allocator;
  const Errors errors(&allocator);
  KIV_ERROR *record = kiv_error_create(&errors.context, nullptr, nullptr, 0, nullptr, nullptr, nullptr, "[|]");
  EXPECT_EQ(printed(record), entry("", "", "0", "", "", "", ""));
  va_list unused = {};
  record = kiv_error_create_or_prepend(&errors.context, record, nullptr, &unused, "", 0, nullptr, "", nullptr, "[|]");
  EXPECT_EQ(record->count, 2u);
  kiv_error_delete(&errors.context, record);
  KIV_ERROR_CONTEXT *context = kiv_error_init(allocator.record(), errors.context.messages);
  EXPECT_EQ(context->allocator, allocator.record());
  EXPECT_EQ(context->messages, errors.context.messages);
  kiv_error_exit(context);
  kiv_error_exit(nullptr);
  allocator.fail_at(1);
  EXPECT_EQ(kiv_error_init(allocator.record(), nullptr), nullptr);
  EXPECT_EQ(kiv_error_init(nullptr, nullptr), nullptr);
}

/// Every way to add an entry; the first two delete the record that they do not take.
KIV_ERROR *add(const Errors &errors, int form, KIV_ERROR *record, const char *message) {
  if (form < 2) kiv_error_delete(&errors.context, record);
  const KIV_ERROR_CONTEXT *context = &errors.context;
  if (form == 0) return errors.create("1", message);
  if (form == 1) {
    return kiv_error_create_prn8(context, "1", "22", 7, kBinary, "4444", kHelp, message, KIV_ARGS("55555"));
  }
  if (form == 2) return kiv_error_prepend(context, record, "1", "22", 7, kBinary, "4444", kHelp, message);
  return form == 3 ? errors.prepend_formatted(record, message) : errors.create_or_prepend(record, message, "%d", 1);
}

constexpr int kForms = 5;

/// What was promised to stay behind is looked at and freed.
void free_all(CountingAllocator *allocator) {
  for (void *block : allocator->blocks()) allocator->record()->free(allocator->record(), block);
}

/// With its n-th allocation failing, a form gives the static record and frees what it was given; when it is the array
/// that failed, all but the record itself stays behind. False when nothing failed.
bool survives_failure(uint32_t n, CountingAllocator::Failing failing, int form, uint32_t older) {
  CountingAllocator allocator;
  const Errors errors(&allocator);
  KIV_ERROR *record = nullptr;
  for (uint32_t i = 0; i < older; ++i) record = add(errors, 2, record, kMessage);
  const size_t live = allocator.live_blocks();
  allocator.clear_log();
  allocator.fail_at(n, failing);
  record = add(errors, form, record, "[0_s][|]");
  const bool creates = form < 2 || older == 0;
  if (!allocator.has_failed()) {
    EXPECT_EQ(record->count, form < 2 ? 1 : older + 1);
    kiv_error_delete(&errors.context, record);
    return false;
  }
  EXPECT_EQ(record, static_record());
  const bool array_failed = std::any_of(allocator.log.begin(), allocator.log.end(), [](const std::string &call) {
    return call.starts_with("realloc") && call.ends_with(" 0");
  });
  EXPECT_EQ(allocator.live_blocks(), array_failed && !creates ? live - 1 : 0);
  free_all(&allocator);
  return true;
}

TEST(Error, EveryFailureGivesTheStaticRecord) {
  for (int form = 0; form < kForms; ++form) {
    for (const uint32_t older : {0u, 1u, 3u}) {
      for (const auto failing : {CountingAllocator::Failing::once, CountingAllocator::Failing::from_then_on}) {
        SCOPED_TRACE(testing::Message() << "form " << form << ", " << older << " entries");
        uint32_t points = 0;
        while (survives_failure(points + 1, failing, form, older)) ++points;
        const uint32_t texts = form == 1 || form == 3 ? 2 : 0;
        EXPECT_EQ(points, texts + (form < 2 || older == 0 ? 1 : 0) + 8);
      }
    }
  }
}

TEST(Error, FailingMessagesDeleteTheRecord) {
  CountingAllocator allocator;
  const Errors errors(&allocator);
  for (int form = 0; form < kForms; ++form) {
    for (const char *message : {"[&0][|]", static_cast<const char *>(nullptr)}) {
      EXPECT_EQ(add(errors, form, errors.create(), message), static_record());
      EXPECT_EQ(allocator.live_blocks(), 0u);
    }
  }
  EXPECT_EQ(errors.prepend_formatted(errors.create(), "[8_s][|]"), static_record());
  const KIV_ERROR_CONTEXT without_messages = {allocator.record(), nullptr};
  EXPECT_EQ(kiv_error_create(&without_messages, "", "", 1, nullptr, "", nullptr, kMessage), static_record());
}

TEST(Error, TheStaticRecordPassesThroughEverything) {
  CountingAllocator allocator;
  const Errors errors(&allocator);
  KIV_ERROR *record = static_record();
  for (int form = 2; form < kForms; ++form) {
    for (const char *message : {kMessage, "[&0]"}) EXPECT_EQ(add(errors, form, record, message), record);
  }
  EXPECT_EQ(allocator.log.size(), 4u);  // the texts of the formatted message, made and freed
  EXPECT_EQ(kiv_error_deep_copy(&errors.context, record), record);
  kiv_error_delete(&errors.context, record);
  EXPECT_EQ(record->count, 1u);
  EXPECT_EQ(printed(record), entry(kOutOfMemory, "", "4294967295", "", "", kOutOfMemory, ""));
}

TEST(Error, AFailedCopyDeletesItsSourceAndStaysBehind) {
  for (uint32_t n = 1; n <= 17; ++n) {
    SCOPED_TRACE(n);
    CountingAllocator allocator;
    const Errors errors(&allocator);
    KIV_ERROR *record = errors.prepend_formatted(errors.create());
    record->count |= 0x80000000u;
    allocator.fail_at(n);
    KIV_ERROR *copy = kiv_error_deep_copy(&errors.context, record);
    EXPECT_EQ(copy == static_record(), n < 17);
    kiv_error_delete(&errors.context, copy);
    if (n <= 2 || n == 17) {
      kiv_error_delete(&errors.context, record);
      continue;
    }
    const std::vector<void *> left = allocator.blocks();
    ASSERT_EQ(left.size(), n - 1);  // record, array and n - 3 strings
    const auto *partial = static_cast<const KIV_ERROR *>(left[0]);
    EXPECT_EQ(partial->entries, left[1]);
    EXPECT_EQ(partial->count, 0x80000000u + (n - 3) / 7);
    EXPECT_EQ(partial->capacity, (n - 3) / 7 * kEntrySize);
    free_all(&allocator);
  }
}

int print_bounded(char *buffer, uint32_t size, const char *format, ...) {
  va_list list;
  va_start(list, format);
  const int length = kiv_do_vsnprintf(buffer, size, format, list);
  va_end(list);
  return length;
}

TEST(Vsnprintf, StoresATerminatorOnlyWhenThereIsRoom) {
  GuardedPage page;
  for (const uint32_t size : {0u, 1u, 2u, 3u, 10u, 510u, 511u, 512u, 513u, 1000u}) {
    for (uint32_t length = size > 2 ? size - 2 : 0; length <= size + 2; ++length) {
      SCOPED_TRACE(testing::Message() << length << " bytes into " << size);
      const std::string text = std::string(length, 'x') + '7';
      char *buffer = page.last<char>(size);
      const int result = print_bounded(buffer, size, "%s%d", std::string(length, 'x').c_str(), 7);
      EXPECT_EQ(result, length + 1 <= size ? static_cast<int>(length + 1) : result < 0 ? result : -1);
      EXPECT_EQ(std::memcmp(buffer, text.c_str(), std::min(length + 2, size)), 0);
    }
  }
  char byte = 'x';
  EXPECT_EQ(print_bounded(&byte, 0, ""), 0);
  EXPECT_EQ(print_bounded(&byte, 1, "%c", 0), 1);
  EXPECT_EQ(byte, '\0');
  EXPECT_EQ(print_bounded(nullptr, 0, "%d-%s", 12345, "abc"), 9);
  EXPECT_LT(print_bounded(nullptr, 1, "%d", 1), 0);
}

TEST(Hash, Pearson) {
  const auto hash = [](const std::string &bytes) {
    return kiv_hash_u8_pearson(reinterpret_cast<const uint8_t *>(bytes.data()), static_cast<uint32_t>(bytes.size()));
  };
  EXPECT_EQ(hash("abc"), 158u);
  EXPECT_EQ(hash(std::string(1000, '\0')), 4u);
  EXPECT_EQ(kiv_hash_u8_pearson(nullptr, 0), 0u);
  // Single bytes show the permutation.
  uint32_t digest = 0;
  for (int i = 0; i < 256; ++i) digest = digest * 31 + hash(std::string(1, static_cast<char>(i)));
  EXPECT_EQ(digest, 0xAB672F2Cu);
}

#ifdef _WIN32

constexpr uint32_t kKnown = ERROR_FILE_NOT_FOUND, kUnknown = 0x2FFFFFFF;
void set_error(uint32_t error) { SetLastError(error); }
std::string known_text() {
  char text[256];
  const DWORD length = FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM, nullptr, kKnown, 0, text, sizeof text, nullptr);
  return std::string(text, length);
}
std::u32string unknown_text() { return U"failed to obtain error message"; }

#else

constexpr int kKnown = ENOENT, kUnknown = 12345;
void set_error(int error) { errno = error; }
std::string known_text() { return "No such file or directory"; }
std::u32string unknown_text() { return U"Unknown error 12345"; }

#endif

TEST(SystemErrors, Texts) {
  const std::string text = known_text();
  std::u32string chopped(text.begin(), text.end());
  chopped.erase(chopped.find_last_not_of(U"\r\n") + 1);
  const uint32_t points = sweep_failures([&](CountingAllocator &allocator) {
    set_error(kKnown);
    KIV_STRING known = kiv_get_syserr(allocator.record());
    if (known != nullptr) EXPECT_EQ(text_of(known), chopped);
    set_error(kUnknown);
    KIV_STRING unknown = kiv_get_syserr(allocator.record());
    if (unknown != nullptr) EXPECT_EQ(text_of(unknown), unknown_text());
    EXPECT_EQ(allocator.has_failed(), known == nullptr || unknown == nullptr);
    kiv_string_delete(allocator.record(), known);
    kiv_string_delete(allocator.record(), unknown);
  });
  EXPECT_EQ(points, 2u);
  set_error(kKnown);
  EXPECT_EQ(kiv_win32_GetLastError_as_string(), text);
  set_error(kUnknown);
  EXPECT_STREQ(kiv_win32_GetLastError_as_string(), "");
}

}  // namespace
