/** @file
 * Tables that translate codes into other codes, or into names and back: those of a file format into a program's own,
 * register numbers into names, and the like.
 *
 *   static const KIV_ENUM_TABLE_OF(3) kinds = {{3, 0}, {{STT_OBJECT, DATA}, {STT_FUNC, CODE}, {STT_GNU_IFUNC, CODE}}};
 *   static const KIV_ENUM_NAME names[] = {{DATA, "data"}, {CODE, "code"}, {CODE, "text"}, {0, NULL}};
 *
 *   uint32_t kind;
 *   if (kiv_enum_translate_to_enum(type, &kinds.head, &kind, 0) == 0) puts(kiv_enum_translate_to_string(kind, names));
 *
 * Conventions: tables are the caller's, usually constants, and are only read. Searches begin at the first pair and the
 * first match wins, so the same value or name may stand there twice: "text" above is read as CODE, but CODE is shown as
 * "code". A status is 0, or 1 for no match, which leaves the result as it was. A null table has no pairs;
 * where the result goes is not null.
 *
 * Costs: linear in the number of pairs. Thread safety: any number of threads may use a table at once. */
#ifndef KIV_ENUM_TRANSLATE_H
#define KIV_ENUM_TRANSLATE_H

#include "kiv_types.h"

KIV_BEGIN_DECLARATIONS

typedef struct KIV_ENUM_PAIR {
  uint32_t left;
  uint32_t right;
} KIV_ENUM_PAIR;

/** The beginning of a table of pairs: they follow it in memory at once. */
typedef struct KIV_ENUM_TABLE {
  int32_t count;   /**< pairs; 0 or less: none */
  uint32_t unread; /**< the caller's: no function looks at it */
} KIV_ENUM_TABLE;

/** The type of a table of n pairs. Functions are given the address of its head. */
#define KIV_ENUM_TABLE_OF(n) \
  struct {                   \
    KIV_ENUM_TABLE head;     \
    KIV_ENUM_PAIR pairs[n];  \
  }

/** A line of a table of names. One whose name is null ends the table, whatever its value. */
typedef struct KIV_ENUM_NAME {
  uint32_t value;
  const char *name;
} KIV_ENUM_NAME;

/** Gives the right value of the first pair whose left one is value. The last argument is ignored, here and below. */
KIV_API int kiv_enum_translate_to_enum(uint32_t value, const KIV_ENUM_TABLE *table, uint32_t *result, uint32_t unused);

/** Gives the left value of the first pair whose right one is value. */
KIV_API int kiv_enum_translate_to_enum_reverse(uint32_t value, const KIV_ENUM_TABLE *table, uint32_t *result,
                                               uint32_t unused);

/** The name of the first line with that value, as it stands in the table; null when there is none. */
KIV_API const char *kiv_enum_translate_to_string(uint32_t value, const KIV_ENUM_NAME *table);

/** Gives the value of the first line whose name is either of the two that are asked for: name, byte by byte, or string,
 * to which the table's names compare as with kiv_string_compare_with_char_s(). Either may be null. With both it is the
 * line that comes first in the table, not the one of a preferred name. */
KIV_API int kiv_enum_translate_from_string(const char *name, const KIV_UNICHAR *string, const KIV_ENUM_NAME *table,
                                           uint32_t unused, uint32_t *result);

KIV_END_DECLARATIONS

#endif
