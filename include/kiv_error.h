/** @file
 * Error records: what went wrong, for the user and for the engineer, gathered on the way out.
 *
 * A record is a stack of entries, newest first. The function that meets a failure makes one; every layer that has
 * something to add prepends an entry; whoever can talk to the user prints the record and deletes it. Functions that can
 * fail this way return null for success and a record otherwise:
 *
 *     KIV_ERROR *load(const KIV_ERROR_CONTEXT *context, const char *path) {
 *       KIV_ERROR *error = open_image(context, path);
 *       if (error == NULL) return NULL;
 *       return kiv_error_prepend_prn8(context, error, "open_image failed in load.", "load.c", 42, NULL, "1.0", NULL,
 *                                     "cannot load [0_s][|]", KIV_ARGS(path));
 *     }
 *
 * The static record. When there is no memory for a record, a failure must not get lost: the result is then one constant
 * record of the library's, which says "Internal error: Out of memory in error object handling.". Every function here
 * takes it like any other record: adding to it and copying it give it back as it is, deleting it does nothing. Nothing
 * but its address tells it from others, and callers have no need to tell. It is never written to.
 *
 * Ownership: a caller keeps what it passes, but for records. A function that adds to a record has consumed it: go on
 * with the result, which is the same record with one entry more, or the static record. In the latter case the given one
 * has been deleted, with one exception: when the array of entries cannot grow, only the record itself is freed, its
 * array and older entries stay allocated, out of reach. A program that means to go on after a shortage of memory keeps
 * its records in an allocator of their own (kiv_allocator_wrap_new) and empties that.
 *
 * Arguments: the context is never null. Null byte strings and null KIV_STRINGs are empty ones; a null message is a
 * message that fails. Byte strings are zero-extended. Messages have the syntax of kiv_i18n.h. One that fails (a bad
 * escape, words that are missing) is treated as a lack of memory: the record is deleted, the result is the static
 * record.
 *
 * Cost: adding an entry to n others moves these; seven strings are allocated.
 *
 * Thread safety: a record and the context's allocator are used by one thread at a time, unless that allocator is for
 * many; the static record is for any number of threads. */
#ifndef KIV_ERROR_H
#define KIV_ERROR_H

#include <stdarg.h>

#include "kiv_allocator.h"
#include "kiv_i18n.h"
#include "kiv_string.h"
#include "kiv_types.h"

KIV_BEGIN_DECLARATIONS

/** What every function that makes records needs. The allocator gives all memory of records, the message handle the
 * texts of messages without arguments; both outlive the context and its records. */
typedef struct KIV_ERROR_CONTEXT {
  KIV_ALLOCATOR *allocator;
  KIV_I18N *messages;
} KIV_ERROR_CONTEXT;

/** What one layer had to say. The strings belong to the entry. */
typedef struct KIV_ERROR_ENTRY {
  KIV_STRING internal_message; /**< for the engineer */
  KIV_STRING source_file;
  uint32_t source_line;
  KIV_STRING binary_name;
  KIV_STRING binary_version;
  KIV_STRING user_message_english;
  KIV_STRING user_message_local; /**< in the user's language */
  KIV_STRING user_help;
} KIV_ERROR_ENTRY;

/** The bits of KIV_ERROR.count that count entries. */
#define KIV_ERROR_COUNT_MASK 0x7FFFFFFFu

typedef struct KIV_ERROR {
  uint32_t count;           /**< Entries in the low 31 bits. The top bit is not ours: it is kept as it is. */
  uint32_t capacity;        /**< Bytes of the array of entries, which grows by one entry at a time. */
  KIV_ERROR_ENTRY *entries; /**< The newest, outermost one first. */
} KIV_ERROR;

/* --- The context ------------------------------------------------------------------------------------------------- */

/** A context in memory of the allocator's; null when there is none. A program may as well fill in one of its own. */
KIV_API KIV_ERROR_CONTEXT *kiv_error_init(KIV_ALLOCATOR *allocator, KIV_I18N *messages);

/** Frees a context that kiv_error_init made; null is ignored. Records that were made with it stay: delete them with a
 * context of the same allocator. */
KIV_API void kiv_error_exit(KIV_ERROR_CONTEXT *context);

/* --- Making records and adding to them ---------------------------------------------------------------------------
 * The record may be null in the functions that add to one: they then make one. The result is never null.
 *
 * internal_message: for the engineer. source_file, source_line: where. binary_name, binary_version: in which program or
 * library. help: what the user may do. message: what is said to the user. */

/** kiv_error_prepend with a null record. */
KIV_API KIV_ERROR *kiv_error_create(const KIV_ERROR_CONTEXT *context, const char *internal_message,
                                    const char *source_file, uint32_t source_line, const KIV_UNICHAR *binary_name,
                                    const char *binary_version, const KIV_UNICHAR *help, const char *message);

/** Adds an entry with a message without arguments: its texts come from kiv_i18n_get_en and kiv_i18n_get, which are
 * called whatever the record is. */
KIV_API KIV_ERROR *kiv_error_prepend(const KIV_ERROR_CONTEXT *context, KIV_ERROR *record, const char *internal_message,
                                     const char *source_file, uint32_t source_line, const KIV_UNICHAR *binary_name,
                                     const char *binary_version, const KIV_UNICHAR *help, const char *message);

/** kiv_error_prepend_prn8 with a null record. */
KIV_API KIV_ERROR *kiv_error_create_prn8(const KIV_ERROR_CONTEXT *context, const char *internal_message,
                                         const char *source_file, uint32_t source_line, const KIV_UNICHAR *binary_name,
                                         const char *binary_version, const KIV_UNICHAR *help, const char *message,
                                         const void *a0, const void *a1, const void *a2, const void *a3, const void *a4,
                                         const void *a5, const void *a6, const void *a7);

/** Adds an entry with a message and its eight argument words (KIV_ARGS of kiv_message.h). The message is formatted by
 * kiv_i18n_prna8, twice: once for each language. */
KIV_API KIV_ERROR *kiv_error_prepend_prn8(const KIV_ERROR_CONTEXT *context, KIV_ERROR *record,
                                          const char *internal_message, const char *source_file, uint32_t source_line,
                                          const KIV_UNICHAR *binary_name, const char *binary_version,
                                          const KIV_UNICHAR *help, const char *message, const void *a0, const void *a1,
                                          const void *a2, const void *a3, const void *a4, const void *a5,
                                          const void *a6, const void *a7);

/** kiv_error_prepend with an internal message that is formatted as by the C runtime's vprintf. Of the formatted text
 * the first 99,999 bytes are kept, or for formats longer than 33,000 bytes three times the format's length and 999
 * more. It is empty when the C runtime's heap has no room for it.
 *
 * *arguments is copied for each attempt and is as before afterwards: the caller ends it with va_end. A function that
 * has received the list as a parameter of its own hands in the address of a va_copy: on some targets such a parameter
 * is no va_list but a pointer. */
KIV_API KIV_ERROR *kiv_error_create_or_prepend(const KIV_ERROR_CONTEXT *context, KIV_ERROR *record,
                                               const char *internal_message_format, va_list *arguments,
                                               const char *source_file, uint32_t source_line,
                                               const KIV_UNICHAR *binary_name, const char *binary_version,
                                               const KIV_UNICHAR *help, const char *message);

/* --- Using records ----------------------------------------------------------------------------------------------- */

/** A copy that shares nothing with the record. Null for a null record and for one without entries; the static record
 * for itself.
 *
 * Without memory the result is the static record, and what is left depends on when that was. When the copy's record or
 * array could not be made, the given record is as it was. When a string could not, the given record has been deleted,
 * and the unfinished copy stays allocated, out of reach. The result does not tell these apart: do not touch the given
 * record afterwards, and let an allocator that is emptied as a whole take back what is left. */
KIV_API KIV_ERROR *kiv_error_deep_copy(const KIV_ERROR_CONTEXT *context, KIV_ERROR *record);

/** Frees a record with its strings. Null and the static record are ignored. */
KIV_API void kiv_error_delete(const KIV_ERROR_CONTEXT *context, KIV_ERROR *record);

/** Prints a record, one call of printer a label, a value and a line end; fprintf itself is given as
 * (KIV_PRINTER)fprintf. Entries print as below and are separated by a line of 33 plus signs; null and a record without
 * entries print nothing. Strings are printed by kiv_string_fputs, the line by "%lu\n" with an unsigned long.
 *
 *     Internal error msg    : open_image failed in load.
 *     Source file           : load.c
 *     Source line           : 42
 *     Binary name           :
 *     Binary version        : 1.0
 *     User message (English): cannot load a.out
 *     User message (Local)  : cannot load a.out
 *     User help             :
 *
 * The line of the static record is 4294967295. */
KIV_API void kiv_error_print(const KIV_ERROR *record, void *stream, KIV_PRINTER printer);

/* --- The system's errors ----------------------------------------------------------------------------------------- */

/** The system's text for the last error of the calling thread (GetLastError on Windows, errno elsewhere), or "failed to
 * obtain error message", without a line end. It belongs to the caller, who frees it through the same allocator. Null
 * when there is no memory. Outside of Windows the system's text is read as UTF-8. */
KIV_API KIV_STRING kiv_get_syserr(KIV_ALLOCATOR *allocator);

/** The same as a byte string, empty when there is none. On Windows it is in the ANSI code page, with a line end, and
 * stays allocated for good unless the caller gives it to LocalFree (an empty one is not to be freed); texts with
 * inserts count as none. Elsewhere it is in English and a constant. */
KIV_API const char *kiv_win32_GetLastError_as_string(void);

KIV_END_DECLARATIONS

#endif
