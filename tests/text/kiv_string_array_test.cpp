#include "kiv_string_array.h"

#include <functional>
#include <string>
#include <vector>

#include "gtest/gtest.h"
#include "kiv_string.h"
#include "tests/support/counting_allocator.h"
#include "tests/support/process.h"
#include "tests/support/random.h"
#include "tests/support/unistring.h"

namespace {

using kiv::test::below;
using kiv::test::CountingAllocator;
using kiv::test::text_of;

using Strings = std::vector<std::u32string>;

/// The elements, as iterating tells them.
Strings strings_in(const KIV_STRING_ARRAY *array) {
  Strings strings;
  const auto collect = [](uint32_t index, KIV_STRING element, void *context) {
    auto *list = static_cast<Strings *>(context);
    EXPECT_EQ(index, list->size());
    list->push_back(text_of(element));
  };
  kiv_string_iterate_KIV_STRING_ARRAY(array, collect, &strings);
  return strings;
}

/// An array and its allocator; destroyed with all that is in it.
struct Array {
  ~Array() { EXPECT_EQ(kiv_string_destroy_KIV_STRING_ARRAY(a, array), nullptr); }

  void push(const std::u32string &text) {
    ASSERT_EQ(kiv_string_push_to_KIV_STRING_ARRAY(a, array, kiv::test::new_string(a, text)), 0);
  }
  std::u32string pop() {
    KIV_STRING string = kiv_string_pop_from_KIV_STRING_ARRAY(a, array);
    const std::u32string text = text_of(string);
    kiv_string_delete(a, string);
    return text;
  }

  CountingAllocator allocator;
  KIV_ALLOCATOR *a = allocator.record();
  KIV_STRING_ARRAY *array = kiv_string_new_KIV_STRING_ARRAY(a);
};

TEST(StringArray, GrowsAndShrinksByItsRules) {
  Array it;
  Strings model;
  uint32_t capacity = 6;
  auto random = kiv::test::make_random();
  for (uint32_t i = 0; i < 4000; ++i) {
    ASSERT_EQ(it.array->count, model.size());
    ASSERT_EQ(it.array->capacity, capacity);
    ASSERT_EQ(it.allocator.size_of(it.array->elements), capacity * sizeof(KIV_STRING));
    ASSERT_EQ(kiv_string_n_elems_in_KIV_STRING_ARRAY(it.array), model.size());
    ASSERT_EQ(kiv_string_is_empty_KIV_STRING_ARRAY(it.array), model.empty());
    ASSERT_EQ(kiv_string_get_elem_from_KIV_STRING_ARRAY(it.array, it.array->count), nullptr);
    // Long ways up and down, with some back and forth.
    if (below(random, 100) < (i / 500 % 2 == 0 ? 80u : 20u)) {
      if (model.size() == capacity) capacity = (3 * capacity + 2) / 2;
      model.push_back(std::u32string(below(random, 3), 1 + below(random, UINT32_MAX)));
      it.push(model.back());
    } else if (model.empty()) {
      ASSERT_EQ(it.pop(), U"(null)");
    } else {
      ASSERT_EQ(text_of(kiv_string_top_of_KIV_STRING_ARRAY(it.array)), model.back());
      const bool memory = below(random, 4) != 0;
      it.allocator.fail_at(memory ? 0 : 1);
      ASSERT_EQ(it.pop(), model.back());
      it.allocator.fail_at(0);
      model.pop_back();
      if (2 * model.size() < capacity && capacity >= 7 && memory) capacity = 2 * capacity / 3;
    }
  }
  EXPECT_EQ(strings_in(it.array), model);
}

KIV_CHILD(fails_to_grow_twice) {
  Array it;
  for (int i = 0; i < 10; ++i) it.push(U"x");
  it.allocator.fail_at(1, CountingAllocator::Failing::from_then_on);
  for (int i = 0; i < 2; ++i) (void)kiv_string_push_to_KIV_STRING_ARRAY(it.a, it.array, nullptr);
}

TEST(StringArray, PrintsEachAttemptToGrow) {
  EXPECT_EQ(kiv::test::run_child("fails_to_grow_twice").out, "ALLOC\nALLOC\nALLOC\n");
}

// Every operation that takes bytes makes them the code points of the same numbers.
TEST(StringArray, WidensBytesWithZeros) {
  const std::u32string widened = {0x7F, 0x80, 0xE9, 0xFF};
  const char *text = "\x7F\x80\xE9\xFF";
  Array it;
  EXPECT_EQ(kiv_string_push_char_string_to_KIV_STRING_ARRAY(it.a, it.array, text), 0);
  EXPECT_EQ(kiv_string_append_char_string_to_KIV_STRING_ARRAY_top(it.a, it.array, text), 0);
  EXPECT_EQ(kiv_string_push_limited_char_string_to_KIV_STRING_ARRAY(it.a, it.array, text, 3), 0);
  EXPECT_EQ(kiv_string_append_limited_char_string_to_KIV_STRING_ARRAY_top(it.a, it.array, text, 2), 0);
  KIV_STRING_ARRAY_PRINT_CONTEXT context = {it.a, it.array, 1};
  kiv_string_array_add_char_string(&context, text);
  EXPECT_EQ(kiv_string_array_printf(&context, "%s", text), 4);
  EXPECT_EQ(strings_in(it.array),
            (Strings{widened + widened, widened.substr(0, 3) + widened.substr(0, 2), widened + widened}));
}

TEST(StringArray, TakesExactlyCountBytes) {
  Array it;
  EXPECT_EQ(kiv_string_push_limited_char_string_to_KIV_STRING_ARRAY(it.a, it.array, "a\0b", 3), 0);
  const KIV_STRING top = kiv_string_top_of_KIV_STRING_ARRAY(it.array);
  EXPECT_EQ(it.allocator.size_of(top), 16u);
  EXPECT_EQ(std::u32string(top, top + 4), (std::u32string{'a', 0, 'b', 0}));
  EXPECT_EQ(kiv_string_append_limited_char_string_to_KIV_STRING_ARRAY_top(it.a, it.array, "c\0d", 3), 0);
  EXPECT_EQ(kiv_string_push_limited_char_string_to_KIV_STRING_ARRAY(it.a, it.array, nullptr, 5), 0);
  EXPECT_EQ(strings_in(it.array), (Strings{U"ac", U""}));
  // More than a block can hold; the bytes are not looked at.
  for (const uint32_t count : {0x3FFFFFFFu, 0x40000000u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu}) {
    EXPECT_EQ(kiv_string_push_limited_char_string_to_KIV_STRING_ARRAY(it.a, it.array, "", count), 1);
    EXPECT_EQ(kiv_string_append_limited_char_string_to_KIV_STRING_ARRAY_top(it.a, it.array, "", count), 1);
  }
  EXPECT_EQ(it.array->count, 2u);
}

TEST(StringArray, OwnsWhatIsAppendedToANullElement) {
  Array it;
  EXPECT_EQ(kiv_string_append_char_string_to_KIV_STRING_ARRAY_top(it.a, it.array, "lost"), 1);
  EXPECT_EQ(kiv_string_push_to_KIV_STRING_ARRAY(it.a, it.array, nullptr), 0);
  EXPECT_EQ(strings_in(it.array), Strings{U"(null)"});
  EXPECT_EQ(kiv_string_append_char_string_to_KIV_STRING_ARRAY_top(it.a, it.array, "text"), 0);
  EXPECT_EQ(it.allocator.live_blocks(), 3u);
  (*kiv_string_address_of_top_of_KIV_STRING_ARRAY(it.array))[0] = 'n';
  EXPECT_EQ(strings_in(it.array), Strings{U"next"});
}

TEST(StringArray, TakesNullForAnEmptyArrayThatCannotGrow) {
  CountingAllocator allocator;
  KIV_ALLOCATOR *a = allocator.record();
  EXPECT_EQ(kiv_string_destroy_KIV_STRING_ARRAY(a, nullptr), nullptr);
  EXPECT_EQ(kiv_string_push_to_KIV_STRING_ARRAY(a, nullptr, nullptr), 1);
  EXPECT_EQ(kiv_string_push_char_string_to_KIV_STRING_ARRAY(a, nullptr, "x"), 1);
  EXPECT_EQ(kiv_string_append_char_string_to_KIV_STRING_ARRAY_top(a, nullptr, "x"), 1);
  EXPECT_EQ(kiv_string_pop_from_KIV_STRING_ARRAY(a, nullptr), nullptr);
  EXPECT_EQ(kiv_string_top_of_KIV_STRING_ARRAY(nullptr), nullptr);
  EXPECT_EQ(kiv_string_address_of_top_of_KIV_STRING_ARRAY(nullptr), nullptr);
  EXPECT_EQ(kiv_string_get_elem_from_KIV_STRING_ARRAY(nullptr, 0), nullptr);
  EXPECT_EQ(kiv_string_n_elems_in_KIV_STRING_ARRAY(nullptr), 0u);
  EXPECT_EQ(kiv_string_is_empty_KIV_STRING_ARRAY(nullptr), 1);
  EXPECT_EQ(strings_in(nullptr), Strings{});
}

TEST(StringArray, SurvivesEveryFailure) {
  const uint32_t points = kiv::test::sweep_failures([](CountingAllocator &allocator) {
    KIV_ALLOCATOR *a = allocator.record();
    KIV_STRING_ARRAY *array = kiv_string_new_KIV_STRING_ARRAY(a);
    Strings model;
    const auto check = [&](int failed, const std::function<void()> &change) {
      if (failed == 0) change();
      EXPECT_TRUE(failed == 0 || allocator.has_failed());
      EXPECT_EQ(strings_in(array), model);
    };
    for (int i = 0; i < 8 && array != nullptr; ++i) {
      check(kiv_string_push_char_string_to_KIV_STRING_ARRAY(a, array, "ab"), [&] { model.push_back(U"ab"); });
      check(kiv_string_push_limited_char_string_to_KIV_STRING_ARRAY(a, array, "cd", 1), [&] { model.push_back(U"c"); });
      check(kiv_string_append_char_string_to_KIV_STRING_ARRAY_top(a, array, "!"), [&] { model.back() += U"!"; });
    }
    while (model.size() > 1) {
      kiv_string_delete(a, kiv_string_pop_from_KIV_STRING_ARRAY(a, array));
      check(0, [&] { model.pop_back(); });
    }
    EXPECT_EQ(kiv_string_destroy_KIV_STRING_ARRAY(a, array), nullptr);
  });
  EXPECT_GT(points, 30u);
}

// --- The print context -----------------------------------------------------------------------------------------------

struct Printing {
  Printing() { EXPECT_EQ(kiv_string_array_init_KIV_STRING_ARRAY_PRINT_CONTEXT(&context, allocator.record()), 0); }
  ~Printing() {
    kiv_string_array_destroy_contents_KIV_STRING_ARRAY_PRINT_CONTEXT(&context);
    EXPECT_EQ(context.array, nullptr);
  }

  CountingAllocator allocator;
  KIV_STRING_ARRAY_PRINT_CONTEXT context;
};

// However a text is cut into pieces, the lines are the same.
TEST(StringArrayPrint, MakesAnElementOfEachLine) {
  auto random = kiv::test::make_random();
  for (int round = 0; round < 200; ++round) {
    Printing it;
    Strings lines;
    bool complete = true;
    for (uint32_t pieces = below(random, 20); pieces > 0; --pieces) {
      std::string piece;
      for (uint32_t left = below(random, 8); left > 0; --left) piece += "a\r\n"[below(random, 3)];
      for (const char byte : piece) {
        if (complete) lines.emplace_back();
        complete = byte == '\n';
        if (!complete) lines.back() += static_cast<char32_t>(byte);
      }
      if (round % 2 == 0) {
        EXPECT_EQ(kiv_string_array_printf(&it.context, "%s", piece.c_str()), static_cast<int>(piece.size()));
      } else {
        kiv_string_array_add_char_string(&it.context, piece.empty() ? nullptr : piece.c_str());
      }
    }
    ASSERT_EQ(strings_in(it.context.array), lines);
    ASSERT_EQ(it.context.line_complete != 0, complete);
  }
}

TEST(StringArrayPrint, CutsFormattedTextAtItsBuffer) {
  for (const size_t length : {2047, 2048, 5000}) {
    Printing it;
    const size_t kept = std::min<size_t>(length, 2047);
    const std::string text(length, 'x');
    EXPECT_EQ(kiv_string_array_printf(&it.context, "%s", text.c_str()), static_cast<int>(length));
    EXPECT_EQ(strings_in(it.context.array), Strings{std::u32string(kept, 'x')});
  }
}

TEST(StringArrayPrint, HasTheShapeOfAPrinter) {
  Printing it;
  const KIV_UNICHAR text[] = {'l', 'i', 'n', 'e', '\n', 'x', 1, 0};
  const auto printer = reinterpret_cast<KIV_PRINTER>(kiv_string_array_printf);
  EXPECT_EQ(kiv_string_fputs(text, &it.context, printer), 0);
  EXPECT_EQ(kiv_string_print_verbose_control_chars(text + 5, &it.context, printer), 0);
  EXPECT_EQ(kiv_string_array_printf(&it.context, " %d%c%5.2f|%-4x|", -7, '%', 1.5, 0xABu), 15);
  EXPECT_EQ(strings_in(it.context.array), (Strings{U"line", U"x\1x^A -7% 1.50|ab  |"}));
}

TEST(StringArrayPrint, LosesTextWithoutMemory) {
  kiv::test::sweep_failures([](CountingAllocator &allocator) {
    KIV_STRING_ARRAY_PRINT_CONTEXT context;
    const int failed = kiv_string_array_init_KIV_STRING_ARRAY_PRINT_CONTEXT(&context, allocator.record());
    EXPECT_EQ(failed != 0, context.array == nullptr);
    for (int i = 0; i < 8; ++i) {
      kiv_string_array_add_char_string(&context, "one\ntw");
      EXPECT_EQ(context.line_complete, 0u);
      kiv_string_array_printf(&context, "%c\n", 'o');
      EXPECT_EQ(context.line_complete, 1u);
    }
    const Strings lines = strings_in(context.array);
    EXPECT_TRUE(allocator.has_failed() || lines.size() == 16);
    for (const auto &line : lines) {
      EXPECT_TRUE(line == U"one" || line == U"two" || (allocator.has_failed() && (line == U"oneo" || line == U"tw")));
    }
    kiv_string_array_destroy_contents_KIV_STRING_ARRAY_PRINT_CONTEXT(&context);
    kiv_string_array_destroy_contents_KIV_STRING_ARRAY_PRINT_CONTEXT(&context);
  });
}

}  // namespace
