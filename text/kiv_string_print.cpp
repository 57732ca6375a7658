// Printing strings through "%S".

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>

#include "kiv_string.h"
#include "os/platform.h"
#include "text/convert_count.h"
#include "text/empty_string.h"
#include "text/wide_text.h"

namespace kiv {
namespace {

/// Wide texts below so many units, counted in UTF-16 and with the terminator, stand on the stack.
constexpr size_t kHeapUnits = 1000;

constexpr int kOutOfMemory = 12;

int print_wide(const KIV_UNICHAR *s, WideUnit *wide, size_t size, void *destination, KIV_PRINTER printer) {
  convert_to_wide(s, wide, static_cast<uint32_t>(size));
  return printer(destination, "%S", wide) < 0 ? errno : 0;
}

/// Null for more units than 32 bits count, or more bytes than an address space has.
WideUnit *allocate_wide(size_t units) {
  if (units > std::min<size_t>(UINT32_MAX, SIZE_MAX / sizeof(WideUnit))) return nullptr;
  return static_cast<WideUnit *>(os::heap_alloc(units * sizeof(WideUnit)));
}

int print_to_file(void *file, const char *format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const int printed = std::vfprintf(static_cast<FILE *>(file), format, arguments);
  va_end(arguments);
  return printed;
}

}  // namespace
}  // namespace kiv

int kiv_string_fputs(const KIV_UNICHAR *s, void *destination, KIV_PRINTER printer) {
  s = kiv::or_empty(s);
  const size_t size = kiv::utf16_words_of(s) + 1;
  if (size < kiv::kHeapUnits) {
    kiv::WideUnit wide[kiv::kHeapUnits];
    return kiv::print_wide(s, wide, size, destination, printer);
  }
  kiv::WideUnit *wide = kiv::allocate_wide(size);
  if (wide == nullptr) {
    printer(destination, "%S", L"???");
    return kiv::kOutOfMemory;
  }
  const int status = kiv::print_wide(s, wide, size, destination, printer);
  kiv::os::heap_free(wide);
  return status;
}

int kiv_string_fputc(KIV_UNICHAR c, void *destination, KIV_PRINTER printer) {
  const KIV_UNICHAR s[] = {c, 0};
  return kiv_string_fputs(s, destination, printer);
}

int kiv_string_print(const KIV_UNICHAR *s) { return kiv_string_fputs(s, stdout, kiv::print_to_file); }
