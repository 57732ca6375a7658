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
  std::u32string text, symbol;  // "(null)": literal
  uint32_t value;               // its last word
  bool operator==(const Part &) const = default;
};

std::vector<Part> parts_of(const KIV_DBLL_NODE &list) {
  std::vector<Part> parts;
  for (const KIV_DBLL_NODE *node = list.next; node != nullptr; node = node->next) {
    const auto &part = *static_cast<const KIV_DISASM_PART *>(node->data);
    EXPECT_TRUE(&part.node == node && node->owner == &list);
    EXPECT_EQ(node->next != nullptr ? node->next->prev : list.prev, node);
    parts.push_back({text_of(part.text), text_of(part.symbol), part.value.words[3]});
  }
  return parts;
}

// Random appends, each with every allocation failing in turn before it succeeds.
TEST(Disasm, AgreesWithAVectorWhateverFails) {
  auto random = make_random();
  const std::string kLong(1000000, 'x');
  const KIV_UNICHAR kText[] = {'r', 0xE9, 0xFFFFFFFF, 0};
  CountingAllocator memory;
  KIV_ALLOCATOR *const a = memory.record();
  KIV_DBLL_NODE list;
  kiv_dbll_init(&list);
  std::vector<Part> model;
  for (uint32_t step = 1; step < 1500; ++step) {
    // The text that grows is a text to append, too, whole or its end.
    const KIV_UNICHAR *own = list.prev != nullptr ? static_cast<KIV_DISASM_PART *>(list.prev->data)->text : kText;
    const char *const own_bytes = reinterpret_cast<const char *>(own), *comma = step % 500 == 0 ? kLong.c_str() : ",";
    const char *const all_bytes[] = {nullptr, nullptr, "", "\x7F\x80\xFF", comma, own_bytes};
    const KIV_UNICHAR *const strings[] = {nullptr, kText, own, own + kiv_string_length(own) / 2};
    const char *const bytes = all_bytes[below(random, 6)];
    const KIV_UNICHAR *const string = strings[below(random, 4)], *const symbol = strings[below(random, 4)];
    const KIV_UNICHAR unit = below(random, 3) * 0x55555555;
    const KIV_DISASM_VALUE value = {{0, 0, 0, step}};
    const bool literal = below(random, 2) != 0;
    std::u32string text;
    for (const char *c = bytes; c != nullptr && *c != '\0'; ++c) {
      text += literal ? static_cast<char32_t>(static_cast<signed char>(*c)) : static_cast<unsigned char>(*c);
    }
    if (bytes == nullptr) text = string != nullptr ? text_of(string) : std::u32string(unit != 0, unit);
    std::vector<Part> expected = model;
    if (!literal) {
      expected.push_back({text, symbol != nullptr ? text_of(symbol) : U"", step});
    } else if (!model.empty() && model.back().symbol == U"(null)") {
      expected.back().text += text;
    } else {
      expected.push_back({text, U"(null)", 0});
    }
    KIV_DBLL_NODE *const element = step % 2 == 0 && list.next != nullptr ? list.next : &list;
    const size_t blocks = memory.live_blocks();
    for (uint32_t failing = 1, failed = 1; failed != 0; ++failing) {
      memory.fail_at(failing);
      failed = literal ? kiv_disasm_append_literal2(a, element, bytes, string, unit) != 0
                       : kiv_disasm_append_symbolic_part2(a, element, bytes, string, unit, symbol, &value) != 0;
      ASSERT_EQ(failed != 0, memory.has_failed());
      ASSERT_TRUE(parts_of(list) == (failed != 0 ? model : expected)) << step;
      if (failed != 0) ASSERT_EQ(memory.live_blocks(), blocks);
    }
    model = std::move(expected);
    if (step % 20 != 0) continue;
    kiv_disasm_parts_dealloc(a, list.next);
    model.clear();
    ASSERT_TRUE(list.next == nullptr && list.prev == nullptr && memory.live_blocks() == 0);
  }
  kiv_disasm_parts_dealloc(a, &list);
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

// The error records, and the order of allocations.
TEST(Disasm, TellsOfMemoryShortage) {
  KIV_ALLOCATOR heap;
  const KIV_ERROR_CONTEXT context = {&heap, kiv_i18n_prn_init(kiv_allocator_default_new(&heap))};
  CountingAllocator memory;
  KIV_ALLOCATOR *const a = memory.record();
  KIV_DBLL_NODE list;
  kiv_dbll_init(&list);
  for (const char *text : {"mov", " "})
    EXPECT_EQ(kiv_disasm_append_literal(&context, a, &list, text, nullptr, 'x'), nullptr);
  memory.fail_at(1);  // the text; the symbol is copied all the same
  KIV_ERROR *symbolic = kiv_disasm_append_symbolic_part(&context, a, &list, "y", nullptr, nullptr, nullptr);
  memory.fail_at(0);
  EXPECT_EQ(kiv_disasm_append_symbolic_part(&context, a, &list, nullptr, nullptr, nullptr, nullptr), nullptr);
  memory.fail_at(2);
  KIV_ERROR *literal = kiv_disasm_append_literal(&context, a, &list, nullptr, nullptr, 'z');
  for (const bool is_literal : {true, false}) {
    std::string text, name = is_literal ? "literal" : "symbolic_part", line = is_literal ? "164" : "341";
    kiv_error_print(is_literal ? literal : symbolic, &text, print);
    kiv_error_delete(&context, is_literal ? literal : symbolic);
    EXPECT_EQ(text, "Internal error msg    : Memory shortage in kiv_disasm_append_" + name +
                        "(...).\nSource file           : kiv_disasm.cpp\nSource line           : " + line +
                        "\nBinary name           : \nBinary version        : \n"
                        "User message (English): Internal memory shortage.\n"
                        "User message (Local)  : Internal memory shortage.\nUser help             : \n");
  }
  kiv_disasm_parts_dealloc(a, &list);
  kiv_i18n_prn_exit(context.messages);
  const std::string part = "alloc " + std::to_string(sizeof(KIV_DISASM_PART)) + " -> ";
  EXPECT_EQ(memory.log,
            (std::vector<std::string>{part + "1", "realloc 0 16 -> 2", "realloc 2 20 -> 3", "alloc 8 -> 0",
                                      "alloc 4 -> 4", "free 4", "alloc 4 -> 5", "alloc 4 -> 6", part + "7", part + "8",
                                      "realloc 0 8 -> 0", "free 8", "free 3", "free 1", "free 5", "free 6", "free 7"}));
}

}  // namespace
