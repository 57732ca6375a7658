// The printed form of error records. People and tools read it: its bytes never change.

#include "foundation/error_record.h"

namespace {

constexpr char kSeparator[] = "+++++++++++++++++++++++++++++++++\n";

void print_string(const char *label, const KIV_UNICHAR *value, void *stream, KIV_PRINTER printer) {
  printer(stream, label);
  (void)kiv_string_fputs(value, stream, printer);
  printer(stream, "\n");
}

void print_entry(const KIV_ERROR_ENTRY &entry, void *stream, KIV_PRINTER printer) {
  print_string("Internal error msg    : ", entry.internal_message, stream, printer);
  print_string("Source file           : ", entry.source_file, stream, printer);
  printer(stream, "Source line           : ");
  printer(stream, "%lu\n", static_cast<unsigned long>(entry.source_line));
  print_string("Binary name           : ", entry.binary_name, stream, printer);
  print_string("Binary version        : ", entry.binary_version, stream, printer);
  print_string("User message (English): ", entry.user_message_english, stream, printer);
  print_string("User message (Local)  : ", entry.user_message_local, stream, printer);
  print_string("User help             : ", entry.user_help, stream, printer);
}

}  // namespace

void kiv_error_print(const KIV_ERROR *record, void *stream, KIV_PRINTER printer) {
  if (record == nullptr) return;
  for (uint32_t i = 0; i < kiv::error::entries_of(record); ++i) {
    if (i > 0) printer(stream, kSeparator);
    print_entry(record->entries[i], stream, printer);
  }
}
