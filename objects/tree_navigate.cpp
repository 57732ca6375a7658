// The dialogue of obj_tree_dump.
#include "objects/tree_terminal.h"

namespace kiv::tree {
namespace {

constexpr int kEnd = -1;
constexpr int32_t kMaxWidth = 64;

struct Navigation {
  const Terminal &terminal;
  const Node *node;
  int32_t unit_width;
  int32_t width;
  int32_t levels;

  void draw_node() const { draw(terminal, node, unit_width, width, levels); }
};

struct Move {
  char key;
  Node *Node::*link;
  const char *refusal;
  size_t refusal_length;
};

template <size_t kSize>
constexpr Move move_along(char key, Node *Node::*link, const char (&refusal)[kSize]) {
  return {key, link, refusal, kSize - 1};
}

constexpr Move kMoves[] = {move_along('l', &Node::left, "cannot go to left node\n"),
                           move_along('r', &Node::right, "cannot go to right node\n"),
                           move_along('p', &Node::parent, "cannot go up\n")};

const Move *find_move(int key) {
  for (const Move &move : kMoves) {
    if (move.key == key) return &move;
  }
  return nullptr;
}

/// The first menu differs by a blank; programs that drive the dialogue look for either.
void write_first_menu(const Terminal &terminal) {
  write(terminal,
        "\n<\n  tree navigation mode: \n  'l' for 'left node'\n  'r' for 'right node'\n  'p' for parent node\n"
        "  'q' for quit\n>\n");
}

void write_menu(const Terminal &terminal) {
  write(terminal, "\n<\n  tree navigation mode:\n");
  write(terminal, "  'l' for 'left node'\n");
  write(terminal, "  'r' for 'right node'\n");
  write(terminal, "  'p' for parent node\n");
  write(terminal, "  'q' for quit\n>\n");
}

/// Whether there was a node to go to.
bool go(Navigation *navigation, const Move &move) {
  const Node *target = navigation->node != nullptr ? navigation->node->*move.link : nullptr;
  if (target == nullptr) {
    navigation->terminal.write(navigation->terminal.context, move.refusal, move.refusal_length);
    return false;
  }
  navigation->node = target;
  navigation->draw_node();
  write_menu(navigation->terminal);
  return true;
}

void write_invalid(const Terminal &terminal, int key) {
  char text[] = "invalid option ?\n";
  text[sizeof text - 3] = static_cast<char>(key);
  write(terminal, text);
}

/// Whether the line has an end.
bool skip_line(const Terminal &terminal) {
  for (;;) {
    const int byte = terminal.read(terminal.context);
    if (byte == '\n') return true;
    if (byte == kEnd) return false;
  }
}

}  // namespace

void navigate(const Terminal &terminal, const Node *node, int32_t unit_width) {
  const int32_t unit = unit_width < 1 ? 1 : unit_width;
  Navigation navigation{terminal, node, unit, unit, 1};
  for (; navigation.width <= kMaxWidth / 2; navigation.width *= 2) ++navigation.levels;
  navigation.draw_node();
  write_first_menu(terminal);
  // An empty line stands for the last move that succeeded; before that it is no command, and is shown as byte 0.
  int last_move = 0;
  for (;;) {
    const int byte = terminal.read(terminal.context);
    if (byte == kEnd) return;
    const int key = byte == '\n' ? last_move : byte;
    if (const Move *move = find_move(key)) {
      if (go(&navigation, *move)) last_move = key;
    } else if (key != 'q' && key != ' ') {
      write_invalid(terminal, key);
    }
    // The rest of the last line is read too, so that it is not a command of the next dialogue.
    if (byte != '\n' && !skip_line(terminal)) return;
    if (key == 'q') return;
  }
}

}  // namespace kiv::tree
