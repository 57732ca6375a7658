// The drawing of a tree. A level's cells are visited from left to right by a recursion that is as deep as the level, at
// most ten; a line is put together in a buffer and written at once.
#include <algorithm>
#include <cstring>

#include "objects/tree_terminal.h"

namespace kiv::tree {
namespace {

constexpr int32_t kMaxWidth = 1024;

struct Line {
  char text[kMaxWidth + 1];
  int32_t length = 0;

  /// REQUIRES: columns are filled from left to right; the last of them may be written again.
  void put(int32_t column, char character) {
    while (length < column) text[length++] = ' ';
    text[column] = character;
    length = column + 1;
  }
};

/// Columns of a line. An empty one has no middle and no children.
struct Cell {
  int32_t first;
  int32_t width;

  int32_t last() const { return first + width - 1; }
  int32_t middle() const { return first + (width - 1) / 2; }
  Cell left() const { return {first, width / 2}; }
  Cell right() const { return {first + width - width / 2, width / 2}; }
};

/// Control characters would break the line.
char printable(char character) {
  return static_cast<unsigned char>(character) < 0x20 || character == 0x7F ? '?' : character;
}

/// "[text]", or as much of it as the cell has room for beside a blank.
void put_label(Line *line, const char *text, Cell cell) {
  const int32_t room = std::max(cell.width - 1, 1);
  const auto *end = static_cast<const char *>(std::memchr(text, '\0', static_cast<size_t>(room)));
  const int32_t length = end != nullptr ? static_cast<int32_t>(end - text) : room;
  const int32_t shown = std::min(length + 2, room);
  int32_t column = cell.first + (cell.width - shown) / 2;
  const int32_t after = column + shown;
  line->put(column++, '[');
  for (int32_t i = 0; i < length && column < after; ++i) line->put(column++, printable(text[i]));
  if (column < after) line->put(column, ']');
}

void put_value(Line *line, const KIV_OBJ *value, Cell cell) {
  if (value == nullptr) return put_label(line, "", cell);
  char *text = value->allocator != nullptr ? value->type->to_char_s(value) : nullptr;
  put_label(line, text != nullptr ? text : "?", cell);
  if (text != nullptr) value->allocator->free(value->allocator, text);
}

void put_nodes(Line *line, const Node *node, Cell cell) { put_value(line, node->value, cell); }

void put_branches(Line *line, const Node *node, Cell cell) {
  const int32_t middle = cell.middle();
  if (node->left != nullptr) line->put((cell.left().middle() + middle) / 2, '/');
  if (node->right != nullptr) line->put(std::min((middle + cell.right().middle() + 1) / 2, cell.last()), '\\');
}

using Put = void (*)(Line *line, const Node *node, Cell cell);

void put_level(Line *line, Put put, const Node *node, Cell cell, int32_t level) {
  if (node == nullptr) return;
  if (level == 1) return put(line, node, cell);
  put_level(line, put, node->left, cell.left(), level - 1);
  put_level(line, put, node->right, cell.right(), level - 1);
}

void write_level(const Terminal &terminal, Put put, const Node *root, int32_t width, int32_t level) {
  Line line;
  put_level(&line, put, root, {0, width}, level);
  line.text[line.length++] = '\n';
  terminal.write(terminal.context, line.text, static_cast<size_t>(line.length));
}

}  // namespace

void draw(const Terminal &terminal, const Node *node, int32_t unit_width, int32_t width, int32_t levels) {
  if (node == nullptr) return;
  const int32_t narrowest = std::clamp(unit_width, 1, kMaxWidth);
  const int32_t whole = std::clamp(width, narrowest, kMaxWidth);
  int32_t drawn = 0;
  for (int32_t cell = whole; drawn < levels && cell >= narrowest; cell /= 2) {
    write_level(terminal, put_nodes, node, whole, ++drawn);
    write_level(terminal, put_branches, node, whole, drawn);
  }
  for (; drawn < levels; ++drawn) terminal.write(terminal.context, "\n\n", 2);
}

}  // namespace kiv::tree
