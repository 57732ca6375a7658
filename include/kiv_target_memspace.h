/** @file
 * The memory spaces of a target, and addresses in them out of text.
 *
 * A target may have several memory spaces, as for code and for data. Each is known by a number, by a name and by the
 * name of its address space, and has an addressable unit of its own: an address counts units, and a bit address, which
 * is the address times the bits of a unit, counts bits. A list has the spaces of one target, in the order in which they
 * were added, and an index by each of the three. The numbers are different, and so are the names, and the names of the
 * address spaces; a name may also be that of an address space.
 *
 * An empty name, or an empty name of an address space, makes a space the default for texts without a prefix.
 *
 * Conventions: a null string is an empty one; a list is not null where nothing is said of that. Functions with a status
 * give 0, or 1 for a failure; nothing has then been changed or stored. A search gives a record of the list or null.
 *
 * Costs: with n spaces, adding one and finding one by number or name take O(log n) compares; the searches by a part of
 * a text look at one space after the other.
 *
 * Ownership: a list owns its records and their names. Nothing takes a single record out again.
 *
 * Thread safety: one thread at a time may change a list. Several may read one that nobody changes. */
#ifndef KIV_TARGET_MEMSPACE_H
#define KIV_TARGET_MEMSPACE_H

#include "kiv_allocator.h"
#include "kiv_avl.h"
#include "kiv_types.h"
#include "kiv_u128.h"

KIV_BEGIN_DECLARATIONS

typedef struct KIV_TARGET_MEMSPACE {
  uint32_t number_low; /**< the number's low 32 bits */
  uint32_t number_high;
  KIV_STRING name;
  KIV_STRING as_name;      /**< the name of the address space */
  uint32_t bits_per_unit;  /**< a unit is what an address counts */
  uint32_t unused;         /**< 0 in a new record */
  uint32_t caller_data[4]; /**< never looked at here */
} KIV_TARGET_MEMSPACE;

typedef struct KIV_TARGET_MEMSPACE_LIST {
  uint32_t count; /**< of memory spaces */
  KIV_ALLOCATOR *allocator;
  KIV_TARGET_MEMSPACE **memspaces;      /**< in the order in which they were added */
  KIV_TARGET_MEMSPACE *default_name;    /**< the one with an empty name, or null */
  KIV_TARGET_MEMSPACE *default_as_name; /**< the one with an empty name of its address space, or null */
  KIV_AVL_TREE *by_number;
  KIV_AVL_TREE *by_name;
  KIV_AVL_TREE *by_as_name;
} KIV_TARGET_MEMSPACE_LIST;

/* --- Lists ------------------------------------------------------------------------------------------------------- */

/** An empty list, which takes all its memory from the allocator; null without memory. */
KIV_API KIV_TARGET_MEMSPACE_LIST *kiv_target_memspace_list_new(KIV_ALLOCATOR *allocator);

/** Frees the list with its records and their names; null is ignored. */
KIV_API void kiv_target_memspace_list_delete(KIV_TARGET_MEMSPACE_LIST *list);

/** Adds a memory space with copies of its names and of four words of the caller's, zeros for null. 0; 1 when the list
 * has its number, its name or the name of its address space already, or without memory. An array of pointers that has
 * grown by then stays so, which nobody sees: the count is as it was. */
KIV_API int kiv_target_memspace_add(KIV_TARGET_MEMSPACE_LIST *list, uint32_t number_low, uint32_t number_high,
                                    const KIV_UNICHAR *name, const KIV_UNICHAR *as_name, uint32_t bits_per_unit,
                                    const uint32_t *caller_data);

/* --- Finding a memory space -------------------------------------------------------------------------------------- */

KIV_API KIV_TARGET_MEMSPACE *kiv_target_memspace_find_by_number(const KIV_TARGET_MEMSPACE_LIST *list,
                                                                uint32_t number_low, uint32_t number_high);
KIV_API KIV_TARGET_MEMSPACE *kiv_target_memspace_find_by_name(const KIV_TARGET_MEMSPACE_LIST *list,
                                                              const KIV_UNICHAR *name);
KIV_API KIV_TARGET_MEMSPACE *kiv_target_memspace_find_by_as_name(const KIV_TARGET_MEMSPACE_LIST *list,
                                                                 const KIV_UNICHAR *as_name);

/** The space whose whole name is the first `length` characters of a text: of char_name, sign-extended, when that is not
 * null, else of name. The text needs no terminator behind them. One that ends before is nobody's name. */
KIV_API KIV_TARGET_MEMSPACE *kiv_target_memspace_find_by_name2(const KIV_TARGET_MEMSPACE_LIST *list,
                                                               const char *char_name, const KIV_UNICHAR *name,
                                                               uint32_t length);
/** The same with the names of the address spaces. */
KIV_API KIV_TARGET_MEMSPACE *kiv_target_memspace_find_by_as_name2(const KIV_TARGET_MEMSPACE_LIST *list,
                                                                  const char *char_as_name, const KIV_UNICHAR *as_name,
                                                                  uint32_t length);

/* --- Target addresses -------------------------------------------------------------------------------------------- */

/** Reads a target address, `[PREFIX:]NUMBER`, out of char_text when that is not null, else out of text.
 *
 * Blanks at the start (what the C runtime's isspace accepts) are skipped with allow_leading_blanks, and a failure
 * without. Everything from there up to the first ":", wherever it is, is the prefix, which may be empty. The number is
 * hexadecimal, with or without "0x", has up to 128 bits, and begins right behind the ":". What follows it is ignored
 * with allow_trailing_text, and a failure without.
 *
 * The prefix is the name of a memory space with match_name, or the name of its address space with match_as_name. With
 * both flags the names go first. Without a prefix the space is the list's default for names or for names of address
 * spaces, by the same flags in the same order. An address that has no space by these rules is a failure. With a null
 * list no space is involved: a prefix is a failure, and a unit has 8 bits.
 *
 * Results, each of which may be null: *memspace, null with a null list; *units, the number; *bits, the number times the
 * bits of a unit; *end, the index of the character behind the number. A bit address of more than 128 bits is a failure,
 * but only when it is asked for: when bits is not null. */
KIV_API int kiv_string_to_target_address(const KIV_TARGET_MEMSPACE_LIST *list, const char *char_text,
                                         const KIV_UNICHAR *text, int match_name, int match_as_name,
                                         int allow_leading_blanks, int allow_trailing_text,
                                         KIV_TARGET_MEMSPACE **memspace, KIV_U128 *units, KIV_U128 *bits,
                                         uint32_t *end);

KIV_END_DECLARATIONS

#endif
