// What the sources of the error records share.
#ifndef KIV_FOUNDATION_ERROR_RECORD_H
#define KIV_FOUNDATION_ERROR_RECORD_H

#include "kiv_error.h"

namespace kiv::error {

/// What a caller says about an entry but for the user messages. Byte strings may be null: they are empty then.
struct Origin {
  const char *internal_message;
  const char *source_file;
  uint32_t source_line;
  const KIV_UNICHAR *binary_name;
  const char *binary_version;
  const KIV_UNICHAR *help;
};

/// The record that stands for all that found no memory. In memory that cannot be written.
KIV_ERROR *static_record();

inline uint32_t entries_of(const KIV_ERROR *record) { return record->count & KIV_ERROR_COUNT_MASK; }

/// Adds an entry to a record, which may be null or the static one: the record, a new one, or the static record when
/// memory failed.
KIV_ERROR *add_entry(const KIV_ERROR_CONTEXT *context, KIV_ERROR *record, const Origin &origin,
                     const KIV_UNICHAR *english, const KIV_UNICHAR *local);

/// The end of a record to which nothing can be added.
inline KIV_ERROR *give_up(const KIV_ERROR_CONTEXT *context, KIV_ERROR *record) {
  kiv_error_delete(context, record);
  return static_record();
}

}  // namespace kiv::error

#endif
