// Trees on a terminal: the drawing, and the dialogue that walks from drawing to drawing.
#ifndef KIV_OBJECTS_TREE_TERMINAL_H
#define KIV_OBJECTS_TREE_TERMINAL_H

#include <cstddef>
#include <cstdint>

#include "objects/tree_walk.h"

namespace kiv::tree {

/// Where text goes to and commands come from.
struct Terminal {
  void (*write)(void *context, const char *text, size_t length);
  int (*read)(void *context);  ///< the next byte, or -1 at the end; not for drawing
  void *context;
};

/// The bytes of a literal, without its terminator.
template <size_t kSize>
void write(const Terminal &terminal, const char (&text)[kSize]) {
  terminal.write(terminal.context, text, kSize - 1);
}

/// What obj_tree_dump_node and obj_tree_dump describe.
void draw(const Terminal &terminal, const Node *node, int32_t unit_width, int32_t width, int32_t levels);
void navigate(const Terminal &terminal, const Node *node, int32_t unit_width);

}  // namespace kiv::tree

#endif
