// Drawing and navigation on the standard streams.

#include <cstdio>

#include "kiv_obj_tree.h"
#include "objects/tree_terminal.h"

namespace kiv::tree {
namespace {

void write_to_stdout(void *, const char *text, size_t length) { (void)std::fwrite(text, 1, length, stdout); }

/// Who reads the output through a pipe sees it before the dialogue waits for an answer.
int read_from_stdin(void *) {
  (void)std::fflush(stdout);
  const int byte = std::getchar();
  return byte == EOF ? -1 : byte;
}

constexpr Terminal kStandardStreams = {write_to_stdout, read_from_stdin, nullptr};

const Node *node_of(const KIV_OBJ *object) { return reinterpret_cast<const Node *>(object); }

}  // namespace
}  // namespace kiv::tree

void obj_tree_dump_node(const KIV_OBJ *node, int32_t unit_width, int32_t width, int32_t levels) {
  kiv::tree::draw(kiv::tree::kStandardStreams, kiv::tree::node_of(node), unit_width, width, levels);
}

void obj_tree_dump(const KIV_OBJ *node, int32_t unit_width) {
  kiv::tree::navigate(kiv::tree::kStandardStreams, kiv::tree::node_of(node), unit_width);
}
