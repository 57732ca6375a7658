// Drawings and dialogues byte for byte, in process.
#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "kiv_obj_tree.h"
#include "objects/tree_terminal.h"
#include "tests/support/counting_allocator.h"

namespace kiv::test {
namespace {

/// Takes what is written, and answers with the input.
struct Screen {
  std::string input, out;
  size_t read = 0;

  tree::Terminal terminal() {
    return {[](void *context, const char *text, size_t length) {
              static_cast<Screen *>(context)->out.append(text, length);
            },
            [](void *context) {
              auto *screen = static_cast<Screen *>(context);
              if (screen->read == screen->input.size()) return -1;
              return int{static_cast<unsigned char>(screen->input[screen->read++])};
            },
            this};
  }
};

class ObjTreeTerminal : public testing::Test {
 protected:
  ~ObjTreeTerminal() override { obj_tree_del(root); }

  KIV_OBJ *node(const std::string &text, KIV_OBJ *left = nullptr, KIV_OBJ *right = nullptr) {
    auto *string = static_cast<KIV_UNICHAR *>(heap()->alloc(heap(), static_cast<uint32_t>(4 * (text.size() + 1))));
    std::copy(text.c_str(), text.c_str() + text.size() + 1, string);
    return obj_tree_new_set_left_right(heap(), obj_unichar_s_new(heap(), string), left, right);
  }

  std::string draw(int32_t unit_width, int32_t width, int32_t levels) {
    Screen screen;
    tree::draw(screen.terminal(), reinterpret_cast<tree::Node *>(root), unit_width, width, levels);
    return screen.out;
  }

  std::string navigate(const std::string &input, int32_t unit_width, size_t unread = 0) {
    Screen screen{input};
    tree::navigate(screen.terminal(), reinterpret_cast<tree::Node *>(root), unit_width);
    EXPECT_EQ(screen.read + unread, input.size()) << input;
    return screen.out;
  }

  KIV_ALLOCATOR *heap() { return memory.record(); }

  const std::string options =
      "  'l' for 'left node'\n  'r' for 'right node'\n  'p' for parent node\n  'q' for quit\n>\n";
  const std::string first_menu = "\n<\n  tree navigation mode: \n" + options;
  const std::string menu = "\n<\n  tree navigation mode:\n" + options;
  CountingAllocator memory;
  KIV_OBJ *root = nullptr;
};

TEST_F(ObjTreeTerminal, Drawings) {
  EXPECT_EQ(draw(1, 64, 3), "");
  EXPECT_EQ(navigate("l\nr\np", 8), first_menu + "cannot go to left node\ncannot go to right node\ncannot go up\n");
  root = node("main", node("int", node("7")), node("node", node("left"), node("right\n", nullptr, node("x"))));
  EXPECT_EQ("\n" + draw(8, 32, 3), R"(
             [main]
           /       \
     [int]           [node]
     /               /   \
  [7]            [left] [right?
                            \
)");
  EXPECT_EQ(draw(4, 8, 4), " [main]\n  / \\\n[in [no\n/   / \\\n\n\n\n\n") << "cells of 2 are too narrow";
  EXPECT_EQ(draw(-1, 4, 4), "[ma\n/ \\\n[ [\n/ /\\\n[ [[\n   \\\n\n\n");
  EXPECT_EQ(draw(8, INT32_MIN, 1), " [main]\n  / \\\n");
  EXPECT_EQ(draw(1, 64, 0) + draw(1, 64, INT32_MIN), "");
  EXPECT_EQ(draw(INT32_MAX, INT32_MAX, 1),
            std::string(509, ' ') + "[main]\n" + std::string(383, ' ') + '/' + std::string(255, ' ') + "\\\n");
}

TEST_F(ObjTreeTerminal, ValuesWithoutText) {
  KIV_OBJ_INT storage;
  root = obj_tree_new_set_left_right(heap(), nullptr, node("left"),
                                     obj_tree_new(heap(), obj_int_new_automatic(&storage, 5)));
  memory.fail_at(1, CountingAllocator::Failing::from_then_on);
  EXPECT_EQ(draw(8, 16, 3), "       []\n     /   \\\n  [?]     [?]\n\n\n\n");
  obj_tree_del(std::exchange(root, nullptr));  // while the storage is there
}

TEST_F(ObjTreeTerminal, Dialogues) {
  root = node("a", node("b", node("c")), node("d"));
  const int32_t widths[][3] = {{8, 64, 4}, {0, 64, 7}, {5, 40, 4}, {33, 33, 1}, {100, 100, 1}};
  for (const auto &[unit_width, width, levels] : widths) {
    EXPECT_EQ(navigate("", unit_width), draw(unit_width, width, levels) + first_menu) << unit_width;
  }
  const std::string blanks(30, ' '), branch(23, ' ');
  const std::string no_left = "cannot go to left node\n", no_right = "cannot go to right node\n";
  const std::string at_a = blanks + "[a]\n" + branch + "/               \\\n";
  const std::string at_b = blanks + "[b]\n" + branch + "/\n" + menu;
  const std::string at_c = blanks + "[c]\n\n" + menu;
  const std::string at_d = blanks + "[d]\n\n" + menu;
  const std::string no_command("invalid option \0\n", 17);
  const struct {
    std::string input, out;
    size_t unread = 0;
  } table[] = {
      {"l\n\n\n", at_b + at_c + no_left},
      {"l\nr\n\n", at_b + no_right + at_c},
      {"r\np\n\n\nl\n", at_d + at_a + menu + "cannot go up\ncannot go up\n" + at_b},
      {" r\n\nlast words\nrest is skipped\n", no_command + at_b + no_right},
      {"x\nL\n\xFF\r\n\tl\n", "invalid option x\ninvalid option L\ninvalid option \xFF\ninvalid option \t\n"},
      {"l", at_b},  // the end of input comes in the line
      {"l\nr", at_b + no_right},
      {" x", ""},
      {"p\nq quits\nl\n", "cannot go up\n", 2},
  };
  for (const auto &[input, out, unread] : table) {
    EXPECT_EQ(navigate(input, 64, unread), at_a + first_menu + out) << input;
  }
}

}  // namespace
}  // namespace kiv::test
