/** @file
 * The text of a disassembled instruction, as parts: literal text, which is shown as it is, and symbolic parts, which
 * refer to something that has a name, so that a display may render, colour or link them.
 *
 *   KIV_DBLL_NODE parts;
 *   kiv_dbll_init(&parts);
 *   if (kiv_disasm_append_literal2(heap, &parts, "call ", NULL, 0) ||
 *       kiv_disasm_append_symbolic_part2(heap, &parts, "401136 <main>", NULL, 0, name, address)) return no_memory();
 *   for (KIV_DBLL_NODE *node = parts.next; node != NULL; node = node->next) show((KIV_DISASM_PART *)node->data);
 *   kiv_disasm_parts_dealloc(heap, &parts);
 *
 * Representation: a list of kiv_dbll.h whose nodes lie in the parts. Every part is one block, which owns its strings.
 *
 * Conventions:
 *  1. Text that follows a literal part becomes part of it: no two neighbours are literal, unless somebody else has
 *     linked them so. A symbolic part stays alone.
 *  2. list is the head of a list that kiv_dbll_init has made, or any of its nodes. All of its parts come from one
 *     allocator.
 *  3. A text is given in one of three ways, of which the first that is there counts: a byte string, a string, each of
 *     which may be null, and a code point.
 *  4. Strings are copied, and may be the list's own.
 *  5. After a failure the list is as it was, and nothing is left allocated.
 *
 * Costs: an operation is linear in the texts that it is given, an append to a literal part also in that part's text.
 *
 * Thread safety: one thread at a time per list. */
#ifndef KIV_DISASM_H
#define KIV_DISASM_H

#include "kiv_allocator.h"
#include "kiv_dbll.h"
#include "kiv_error.h"
#include "kiv_types.h"

KIV_BEGIN_DECLARATIONS

/** What a symbolic part refers to, in the caller's terms: nothing here reads it. */
typedef struct KIV_DISASM_VALUE {
  uint32_t words[4];
} KIV_DISASM_VALUE;

/** A part. Whoever displays parts may keep something in the two unused words. */
typedef struct KIV_DISASM_PART {
  KIV_STRING text;        /**< what is shown; never null in a list */
  uintptr_t unused_1;     /**< 0 in a new part; not read */
  KIV_STRING symbol;      /**< null: the part is literal */
  uintptr_t unused_2;     /**< 0 in a new part; not read */
  KIV_DISASM_VALUE value; /**< of a symbolic part; all 0 in a literal one */
  KIV_DBLL_NODE node;     /**< its data is the part */
} KIV_DISASM_PART;

/** Appends literal text: to the last part when that is literal, else as a new part. The result is 0, or 1 when there is
 * no memory. Bytes are sign-extended: the byte 0xE9 is the unit 0xFFFFFFE9. A code point 0 appends nothing, but makes a
 * part where there is none to append to. */
KIV_API int kiv_disasm_append_literal2(KIV_ALLOCATOR *allocator, KIV_DBLL_NODE *list, const char *bytes,
                                       const KIV_UNICHAR *string, KIV_UNICHAR code_point);

/** The same with an error record of the context's: null for success. */
KIV_API KIV_ERROR *kiv_disasm_append_literal(const KIV_ERROR_CONTEXT *context, KIV_ALLOCATOR *allocator,
                                             KIV_DBLL_NODE *list, const char *bytes, const KIV_UNICHAR *string,
                                             KIV_UNICHAR code_point);

/** Appends a symbolic part with a text to show, and copies of a symbol and a value. A null symbol is the empty one: the
 * part is a symbolic one nevertheless. A null value is all 0. The result is 0, or 1 when there is no memory. Bytes of
 * the text are zero-extended. */
KIV_API int kiv_disasm_append_symbolic_part2(KIV_ALLOCATOR *allocator, KIV_DBLL_NODE *list, const char *bytes,
                                             const KIV_UNICHAR *string, KIV_UNICHAR code_point,
                                             const KIV_UNICHAR *symbol, const KIV_DISASM_VALUE *value);

/** The same with an error record of the context's: null for success. Without bytes and string the text is empty. */
KIV_API KIV_ERROR *kiv_disasm_append_symbolic_part(const KIV_ERROR_CONTEXT *context, KIV_ALLOCATOR *allocator,
                                                   KIV_DBLL_NODE *list, const char *bytes, const KIV_UNICHAR *string,
                                                   const KIV_UNICHAR *symbol, const KIV_DISASM_VALUE *value);

/** Frees all parts. The list is empty then, and can be used again. */
KIV_API void kiv_disasm_parts_dealloc(KIV_ALLOCATOR *allocator, KIV_DBLL_NODE *list);

KIV_END_DECLARATIONS

#endif
