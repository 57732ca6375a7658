// Lists of disassembly parts.
//
// The order of allocator calls is part of the interface: a literal part is made and linked before its text, a symbolic
// one behind its strings. Whatever fails is undone from there.

#include "kiv_disasm.h"

#include <cstring>

#include "base/record_layout.h"
#include "kiv_string.h"
#include "kiv_string_convert.h"
#include "text/empty_string.h"
#include "text/string_growth.h"

KIV_LAYOUT_32(sizeof(KIV_DISASM_PART) == 48 && offsetof(KIV_DISASM_PART, text) == 0);
KIV_LAYOUT_32(offsetof(KIV_DISASM_PART, unused_1) == 4 && offsetof(KIV_DISASM_PART, symbol) == 8);
KIV_LAYOUT_32(offsetof(KIV_DISASM_PART, unused_2) == 12 && offsetof(KIV_DISASM_PART, value) == 16);
KIV_LAYOUT_32(offsetof(KIV_DISASM_PART, node) == 32);
static_assert(sizeof(KIV_DISASM_VALUE) == 16);

namespace {

constexpr char kSourceName[] = "kiv_disasm.cpp";

KIV_DISASM_PART *part_of(const KIV_DBLL_NODE *node) { return static_cast<KIV_DISASM_PART *>(node->data); }

/// Appends a part without strings; null without memory.
KIV_DISASM_PART *append_part(KIV_ALLOCATOR *allocator, KIV_DBLL_NODE *list) {
  auto *part = static_cast<KIV_DISASM_PART *>(allocator->alloc(allocator, sizeof(KIV_DISASM_PART)));
  if (part == nullptr) return nullptr;
  *part = {};
  part->node.data = part;
  kiv_dbll_append(list, &part->node);
  return part;
}

void remove_part(KIV_ALLOCATOR *allocator, KIV_DISASM_PART *part) {
  kiv_dbll_remove(&part->node);
  kiv_string_delete(allocator, part->text);
  kiv_string_delete(allocator, part->symbol);
  allocator->free(allocator, part);
}

/// The list's last part when that is a literal one, else null.
KIV_DISASM_PART *literal_at_end(const KIV_DBLL_NODE *list) {
  const KIV_DBLL_NODE *last = list->owner->prev;
  return last != nullptr && part_of(last)->symbol == nullptr ? part_of(last) : nullptr;
}

/// The text, grown. Bytes are widened right into it: they may be of any length.
KIV_STRING append_text(KIV_ALLOCATOR *allocator, KIV_STRING text, const char *bytes, const KIV_UNICHAR *string,
                       KIV_UNICHAR code_point) {
  if (bytes != nullptr) return kiv::grow_behind(allocator, text, kiv::SignExtended{bytes}, std::strlen(bytes));
  if (string != nullptr) return kiv_string_cat(allocator, text, string, 1);
  return kiv_string_append(allocator, text, code_point);
}

KIV_STRING new_text(KIV_ALLOCATOR *allocator, const char *bytes, const KIV_UNICHAR *string, KIV_UNICHAR code_point) {
  if (bytes != nullptr) return kiv_string_convert_char_to_utf32_a(allocator, bytes);
  const KIV_UNICHAR single[] = {code_point, 0};
  return kiv_string_dup(allocator, string != nullptr ? string : single);
}

KIV_ERROR *memory_shortage(const KIV_ERROR_CONTEXT *context, const char *internal_message, uint32_t line) {
  return kiv_error_create(context, internal_message, kSourceName, line, kiv::kEmptyString, "", kiv::kEmptyString,
                          "Internal memory shortage.[|]");
}

}  // namespace

int kiv_disasm_append_literal2(KIV_ALLOCATOR *allocator, KIV_DBLL_NODE *list, const char *bytes,
                               const KIV_UNICHAR *string, KIV_UNICHAR code_point) {
  KIV_DISASM_PART *const reused = literal_at_end(list);
  KIV_DISASM_PART *const part = reused != nullptr ? reused : append_part(allocator, list);
  if (part == nullptr) return 1;
  KIV_STRING text = append_text(allocator, part->text, bytes, string, code_point);
  if (text == nullptr) {
    if (reused == nullptr) remove_part(allocator, part);
    return 1;
  }
  part->text = text;
  return 0;
}

// The lines in the records are fixed: they tell the two failures apart in reports of any version.
KIV_ERROR *kiv_disasm_append_literal(const KIV_ERROR_CONTEXT *context, KIV_ALLOCATOR *allocator, KIV_DBLL_NODE *list,
                                     const char *bytes, const KIV_UNICHAR *string, KIV_UNICHAR code_point) {
  if (kiv_disasm_append_literal2(allocator, list, bytes, string, code_point) == 0) return nullptr;
  return memory_shortage(context, "Memory shortage in kiv_disasm_append_literal(...).", 164);
}

int kiv_disasm_append_symbolic_part2(KIV_ALLOCATOR *allocator, KIV_DBLL_NODE *list, const char *bytes,
                                     const KIV_UNICHAR *string, KIV_UNICHAR code_point, const KIV_UNICHAR *symbol,
                                     const KIV_DISASM_VALUE *value) {
  KIV_STRING text = new_text(allocator, bytes, string, code_point);
  KIV_STRING copied_symbol = kiv_string_dup(allocator, symbol);  // never null but without memory
  KIV_DISASM_PART *part = text != nullptr && copied_symbol != nullptr ? append_part(allocator, list) : nullptr;
  if (part == nullptr) {
    kiv_string_delete(allocator, text);
    kiv_string_delete(allocator, copied_symbol);
    return 1;
  }
  part->text = text;
  part->symbol = copied_symbol;
  if (value != nullptr) part->value = *value;
  return 0;
}

KIV_ERROR *kiv_disasm_append_symbolic_part(const KIV_ERROR_CONTEXT *context, KIV_ALLOCATOR *allocator,
                                           KIV_DBLL_NODE *list, const char *bytes, const KIV_UNICHAR *string,
                                           const KIV_UNICHAR *symbol, const KIV_DISASM_VALUE *value) {
  if (kiv_disasm_append_symbolic_part2(allocator, list, bytes, string, 0, symbol, value) == 0) return nullptr;
  return memory_shortage(context, "Memory shortage in kiv_disasm_append_symbolic_part(...).", 341);
}

void kiv_disasm_parts_dealloc(KIV_ALLOCATOR *allocator, KIV_DBLL_NODE *list) {
  KIV_DBLL_NODE *const head = list->owner;
  while (head->next != nullptr) remove_part(allocator, part_of(head->next));
}
