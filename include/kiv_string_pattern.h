/** @file
 * Pattern matching on strings: a compact dialect of regular expressions, wildcards, and cutting at delimiters.
 *
 * Code points are compared exactly, without regard to case or locale. Patterns are read directly at every call, there
 * is no compiled form. Indices into the text are signed, -1 when nothing is found. A null text or pattern counts as
 * empty.
 *
 * A regular expression is a sequence of atoms, each with at most one quantifier behind it:
 *
 *     x       itself, for any code point not named below
 *     .       any one character
 *     \x      the code point x itself
 *     [a-z_]  one of these; [^a-z_] any one character but these
 *     * + ?   quantifiers: the atom before it any number of times, at least once, at most once; as often as possible
 *     ^       at the start of the pattern: the start of the text; elsewhere itself
 *     $       the end of the text; what stands behind it in the pattern is ignored
 *
 * In a set a "]" that comes first is a member, and so is a "-" before the closing "]". A range orders code points as
 * numbers; with its ends the wrong way round it is empty. A backslash makes the next code point a member, also as an
 * end of a range. There is no grouping and no alternation. A quantifier without an atom before it, a backslash at the
 * end and a set that is not closed never match.
 *
 * Wildcards:
 *
 *     ?       any one character
 *     *       at the end of the pattern: the rest of the text. Elsewhere what follows must begin before the end of the
 *             text: "a**" does not match "a"
 *     [a-z_]  as above, but a backslash is an ordinary member
 *     \x      the code point x itself; a backslash at the end never matches
 *     x       itself
 *
 * Costs, for a pattern of m and a text of n units: nothing is allocated and nothing recurses, whatever the pattern, and
 * no more than 80 KiB of stack is used. Matching at one place takes at most m * n tests of a character, usually far
 * less. A search tries place after place; when attempts get long it finds the place by halving, so that it takes no
 * more than some 20 + log2(n) times as many tests, and twice that when a pattern with "$" matches nowhere. Wildcards
 * take m * n tests. A test of a set is as long as the set.
 * Limit: a regular expression of more than 63 atoms and more than 524,287 units before its end or "$" matches nothing.
 * Texts have less than 2^31 units.
 *
 * Thread safety: nothing is shared. */
#ifndef KIV_STRING_PATTERN_H
#define KIV_STRING_PATTERN_H

#include "kiv_allocator.h"
#include "kiv_types.h"

KIV_BEGIN_DECLARATIONS

/* --- Regular expressions -----------------------------------------------------------------------------------------
 * end, which may be null, receives the end of the match: a pointer into the text, behind the last matched character.
 * When nothing matches it receives the place of the last attempt that came to the end of the pattern, or to its "$",
 * without being at the end of the text; and when there was no such attempt, it is left alone by
 * kiv_string_matches_with_reg_exp and is the start of the text after a search. */

/** 1 when re matches at the start of text, else 0; one "^" at the start of re is skipped. With whole the match must use
 * up the text. */
KIV_API int kiv_string_matches_with_reg_exp(const KIV_UNICHAR *text, const KIV_UNICHAR *re, KIV_STRING *end, int whole);

/** The first index from start on (from 0 on, when start is negative) at which re matches, or -1. The end of the text is
 * not such a place: an empty text matches nothing but an anchored pattern. A pattern that begins with "^" is tried at
 * index 0 only, never with a start above 0; a second "^" behind it is skipped. */
KIV_API int32_t kiv_string_substr_matches_with_regular_expression(const KIV_UNICHAR *text, const KIV_UNICHAR *re,
                                                                  KIV_STRING *end, int32_t start);

/** The last index at which re matches, from start (from the last character, when start lies behind it) down to 0; -1
 * when there is none or start is negative. A pattern that begins with "^" is tried at index 0 only, also with a
 * negative start, but never with one above 0. */
KIV_API int32_t kiv_string_reverse_substr_matches_with_regular_expression(const KIV_UNICHAR *text,
                                                                          const KIV_UNICHAR *re, KIV_STRING *end,
                                                                          int32_t start);

/** A copy of text, owned by the caller, with the first max matches of re replaced; a null replacement counts as empty,
 * a max below 1 replaces nothing. Each search begins where the last match ended, and what lies before that is not seen
 * by it: "^a" finds one "a" after the other. An empty match does not move on: the replacement is inserted there until
 * max is used up.
 *
 * The result grows by one realloc a piece. An allocator that frees nothing before its end, as the fast kind, keeps
 * every step of that: memory then grows with the square of the number of matches. When a realloc fails, what was built
 * so far is freed and lost, and building goes on with the next piece; a failure at the last gives null. A result too
 * long for a block of less than 2^32 bytes fails in the same way. A null text gives null. */
KIV_API KIV_STRING kiv_string_replace_re(KIV_ALLOCATOR *allocator, const KIV_UNICHAR *text, const KIV_UNICHAR *re,
                                         const KIV_UNICHAR *replacement, int32_t max);

/* --- Wildcards --------------------------------------------------------------------------------------------------- */

/** 1 when pattern matches the whole text, else 0. */
KIV_API int kiv_string_matches_using_wildcards(const KIV_UNICHAR *text, const KIV_UNICHAR *pattern);

/** The first index from which pattern matches a part of the text, or -1. The end of the text is not such a place. */
KIV_API int32_t kiv_string_substr_matches_using_wildcards(const KIV_UNICHAR *text, const KIV_UNICHAR *pattern);

/** The last index from which pattern matches a part of the text, or -1. The end of the text is not such a place. */
KIV_API int32_t kiv_string_reverse_substr_matches_using_wildcards(const KIV_UNICHAR *text, const KIV_UNICHAR *pattern);

/* --- Delimiters --------------------------------------------------------------------------------------------------
 * delimiters is a set: each of its code points is a delimiter. Null counts as empty in all strings. */

/** Whether the first token of text is token: delimiters before it are skipped, and it ends before the next delimiter or
 * the end of the text. 1, and *next is the index behind the token; or 0, and *next is 0. REQUIRES: next is not null. */
KIV_API int kiv_string_token_matches(const KIV_UNICHAR *token, const KIV_UNICHAR *delimiters, const KIV_UNICHAR *text,
                                     uint32_t *next);

/** The fields of text, as an array of new strings with a null pointer at its end: release it with
 * kiv_string_delete_array. Every delimiter ends a field, so that two in a row have an empty one between them; behind a
 * delimiter that ends the text there is none, and an empty text has no field. Null when memory fails; everything has
 * then been freed. */
KIV_API KIV_STRING *kiv_string_split(KIV_ALLOCATOR *allocator, const KIV_UNICHAR *text, const KIV_UNICHAR *delimiters);

KIV_END_DECLARATIONS

#endif
