#include "kiv_disasm.h"

#include <cstdarg>
#include <cstdio>

#include "gtest/gtest.h"
#include "tests/support/counting_allocator.h"
#include "tests/support/random.h"
#include "tests/support/unistring.h"

namespace {

using namespace kiv::test;

struct Part {
  bool literal;
  std::u32string text, symbol;
  uint32_t value;  // its first word
  bool operator==(const Part &) const = default;
};
using Parts = std::vector<Part>;

Parts parts_of(const KIV_DBLL_NODE &list) {
  Parts parts;
  const KIV_DBLL_NODE *previous = nullptr;
  for (const KIV_DBLL_NODE *node = list.next; node != nullptr; previous = node, node = node->next) {
    const auto &part = *static_cast<const KIV_DISASM_PART *>(node->data);
    EXPECT_TRUE(&part.node == node && node->prev == previous && node->owner == &list);
    EXPECT_EQ(part.value.words[3], ~part.value.words[0] + (part.value.words[0] == 0));
    const bool literal = part.symbol == nullptr;
    parts.push_back({literal, text_of(part.text), literal ? U"" : text_of(part.symbol), part.value.words[0]});
  }
  EXPECT_EQ(list.prev, previous);
  return parts;
}

int print(void *out, const char *format, ...) {
  char text[200];
  va_list arguments;
  va_start(arguments, format);
  const int length = std::vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
  *static_cast<std::string *>(out) += text;
  return length;
}

std::string record_of(const std::string &function, const std::string &line) {
  return "Internal error msg    : Memory shortage in kiv_disasm_append_" + function +
         "(...).\nSource file           : kiv_disasm.cpp\nSource line           : " + line +
         "\nBinary name           : \nBinary version        : \nUser message (English): Internal memory shortage.\n"
         "User message (Local)  : Internal memory shortage.\nUser help             : \n";
}

/// An append in one of the four forms, and what its error record prints as; "1" in place of a record.
struct Append {
  const char *bytes;
  const KIV_UNICHAR *string, *symbol;
  KIV_UNICHAR unit;
  const KIV_DISASM_VALUE *value;  // null: literal
  bool recorded;

  std::string run(const KIV_ERROR_CONTEXT &context, KIV_ALLOCATOR *a, KIV_DBLL_NODE *list) const {
    const bool literal = value == nullptr;
    if (!recorded) {
      return (literal ? kiv_disasm_append_literal2(a, list, bytes, string, unit)
                      : kiv_disasm_append_symbolic_part2(a, list, bytes, string, unit, symbol, value)) != 0
                 ? "1"
                 : "";
    }
    KIV_ERROR *error = literal ? kiv_disasm_append_literal(&context, a, list, bytes, string, unit)
                               : kiv_disasm_append_symbolic_part(&context, a, list, bytes, string, symbol, value);
    std::string text;
    kiv_error_print(error, &text, print);
    kiv_error_delete(&context, error);
    return text;
  }

  void apply(Parts *parts) const {
    const bool literal = value == nullptr;
    std::u32string text;
    for (const char *c = bytes; c != nullptr && *c != '\0'; ++c) {
      text += literal ? static_cast<char32_t>(static_cast<signed char>(*c)) : static_cast<unsigned char>(*c);
    }
    if (bytes == nullptr && string != nullptr) text = text_of(string);
    if (bytes == nullptr && string == nullptr && unit != 0 && (literal || !recorded)) text = unit;
    if (literal && !parts->empty() && parts->back().literal) {
      parts->back().text += text;
    } else {
      parts->push_back(
          {literal, text, symbol != nullptr && !literal ? text_of(symbol) : U"", literal ? 0 : value->words[0]});
    }
  }
};

// Random appends, each with every allocation failing in turn before it succeeds.
TEST(Disasm, AgreesWithAVectorWhateverFails) {
  auto random = make_random();
  KIV_ALLOCATOR heap;
  const KIV_ERROR_CONTEXT context = {&heap, kiv_i18n_prn_init(kiv_allocator_default_new(&heap))};
  const std::string kLong(1000000, 'x');
  const KIV_UNICHAR kText[] = {'r', 0xE9, 0xFFFFFFFF, 0};
  CountingAllocator memory;
  KIV_DBLL_NODE list;
  kiv_dbll_init(&list);
  Parts model;
  for (uint32_t step = 1; step < 1500; ++step) {
    const char *const bytes[] = {nullptr, nullptr, "", "mov ", "\x7F\x80\xFF", step % 500 == 0 ? kLong.c_str() : ","};
    // The text that grows is a text to append, too, whole or its end.
    const KIV_UNICHAR *own = list.prev != nullptr ? static_cast<KIV_DISASM_PART *>(list.prev->data)->text : kText;
    const KIV_UNICHAR *const strings[] = {nullptr, kText, own, own + kiv_string_length(own) / 2};
    const KIV_DISASM_VALUE value = {{step, 0, 0, ~step}};
    const Append append = {
        bytes[below(random, 6)],       strings[below(random, 4)],           strings[below(random, 4)],
        below(random, 3) * 0x55555555, below(random, 2) ? &value : nullptr, below(random, 2) != 0};
    Parts expected = model;
    append.apply(&expected);
    const size_t blocks = memory.live_blocks();
    for (uint32_t failing = 1;; ++failing) {
      memory.fail_at(failing);
      const std::string failure = append.run(context, memory.record(), step % 2 == 0 && list.next ? list.next : &list);
      if (!memory.has_failed()) {
        ASSERT_EQ(failure, "");
        break;
      }
      ASSERT_EQ(failure, !append.recorded          ? "1"
                         : append.value != nullptr ? record_of("symbolic_part", "341")
                                                   : record_of("literal", "164"));
      ASSERT_EQ(memory.live_blocks(), blocks);
      ASSERT_TRUE(parts_of(list) == model) << step;
    }
    ASSERT_TRUE(parts_of(list) == expected) << step;
    model = std::move(expected);
    if (below(random, 20) != 0) continue;
    kiv_disasm_parts_dealloc(memory.record(), list.next != nullptr ? list.next : &list);
    model.clear();
    ASSERT_TRUE(parts_of(list).empty() && memory.live_blocks() == 0);
  }
  kiv_disasm_parts_dealloc(memory.record(), &list);
  kiv_i18n_prn_exit(context.messages);
}

TEST(Disasm, AllocatesInItsOrder) {
  CountingAllocator memory;
  KIV_ALLOCATOR *a = memory.record();
  KIV_DBLL_NODE list;
  kiv_dbll_init(&list);
  const KIV_UNICHAR symbol[] = {'s', 0};
  for (const char *text : {"mov", " ", "r1"}) EXPECT_EQ(kiv_disasm_append_literal2(a, &list, text, nullptr, 'x'), 0);
  memory.fail_at(1);  // the text; the symbol is copied all the same
  EXPECT_EQ(kiv_disasm_append_symbolic_part2(a, &list, nullptr, nullptr, 'y', symbol, nullptr), 1);
  EXPECT_EQ(kiv_disasm_append_symbolic_part2(a, &list, nullptr, nullptr, 'y', symbol, nullptr), 0);
  memory.fail_at(2);
  EXPECT_EQ(kiv_disasm_append_literal2(a, &list, nullptr, nullptr, 'z'), 1);
  kiv_disasm_parts_dealloc(a, &list);
  const std::string part = "alloc " + std::to_string(sizeof(KIV_DISASM_PART)) + " -> ";
  EXPECT_EQ(memory.log, (std::vector<std::string>{
                            part + "1", "realloc 0 16 -> 2", "realloc 2 20 -> 3", "realloc 3 28 -> 4", "alloc 8 -> 0",
                            "alloc 8 -> 5", "free 5", "alloc 8 -> 6", "alloc 8 -> 7", part + "8", part + "9",
                            "realloc 0 8 -> 0", "free 9", "free 4", "free 1", "free 6", "free 7", "free 8"}));
}

}  // namespace
