// kiv_inspect tree [--width N] [--cell N] PROGRAM [NAME]: draws the types of the debug information, or those in the
// scope or type of that name, by the scopes that they are in, in cells of N columns at least.
// kiv_inspect tree --navigate [--cell N] PROGRAM [NAME]: walks in them, by commands from standard input.

#include <algorithm>
#include <cstdio>
#include <optional>
#include <string_view>

#include "examples/kiv_inspect/command.h"
#include "examples/kiv_inspect/name_text.h"
#include "examples/kiv_inspect/output.h"
#include "examples/kiv_inspect/type_tree.h"

namespace kiv::inspect {
namespace {

constexpr uint32_t kWidest = 1024;    // drawing
constexpr uint32_t kWidestCell = 64;  // of a dialogue, whose drawings have at most so many columns

struct Options {
  bool navigates = false;
  uint32_t width = 80;
  uint32_t cell = 8;           // columns of the narrowest one that is drawn
  const char *name = nullptr;  // null: all types
};

std::optional<Options> parse(Arguments &arguments) {
  Options options;
  options.navigates = arguments.take_option("--navigate") >= 0;
  uint32_t width = 0;  // of a dialogue's drawings the cell decides
  if (!arguments.take_number("--width", kWidest, &width) || (options.navigates && width != 0) ||
      !arguments.take_number("--cell", options.navigates ? kWidestCell : kWidest, &options.cell)) {
    return std::nullopt;
  }
  if (width != 0) options.width = width;
  if (!arguments.take_path() || arguments.count > 1) return std::nullopt;
  if (arguments.count > 0) options.name = arguments.values[0];
  return options;
}

/// A file's name without the folders in front.
std::string_view file_name(std::string_view path) {
  const size_t slash = path.find_last_of("/\\");
  return slash != path.npos ? path.substr(slash + 1) : path;
}

Status find_top(const TypeTable &types, const Arguments &arguments, const char *name, const TypeNode **top) {
  *top = name != nullptr ? types.find(name) : types.program();
  if (*top != nullptr) return {};
  NameText text(arguments.allocator);
  const KIV_UNICHAR *shown = text.decode(name);
  if (shown == nullptr) return arguments.errors.out_of_memory();
  return arguments.errors.failure("it has no type and no scope \"[0_S]\"[|]", shown);
}

Status show(const Arguments &arguments, const Options &options) {
  Status status = arguments.load({&Program::load_types});
  if (!status.ok()) return status;
  const TypeTable &types = arguments.program().types();
  types.program()->name = file_name(arguments.path);
  const TypeNode *top = nullptr;
  status = find_top(types, arguments, options.name, &top);
  TypeTree tree(arguments.errors, arguments.allocator);
  if (status.ok()) status = tree.build(types, *top);
  if (!status.ok()) return status;
  // The library prints by itself, to standard output, and the types are marked while they are searched: that is why a
  // tree is nothing that a server can be asked for.
  Output output(arguments.out, arguments.errors, arguments.allocator);
  if (options.navigates) {
    obj_tree_dump(tree.root(), static_cast<int32_t>(options.cell));
  } else {
    // Deeper levels, whose cells would be too narrow, would be empty lines.
    uint32_t levels = 1;
    for (uint32_t cell = options.width / 2; cell >= options.cell; cell /= 2) ++levels;
    levels = std::min<uint32_t>(levels, obj_tree_height(tree.root()));
    obj_tree_dump_node(tree.root(), static_cast<int32_t>(options.cell), static_cast<int32_t>(options.width),
                       static_cast<int32_t>(levels));
  }
  status = output.finish();
  return status.ok() ? tree.labels() : status;
}

}  // namespace

Outcome run_tree(Arguments arguments) {
  const auto options = parse(arguments);
  if (!options) return Outcome::wrong_usage;
  return finish(arguments, show(arguments, *options), "the types of \"[0_S]\" cannot be shown[|]");
}

}  // namespace kiv::inspect
