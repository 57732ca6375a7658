// kiv_inspect symbols [--regex] PROGRAM [PATTERN]: a line "ADDRESS KIND NAME" for each symbol, in the order of the
// addresses. At one address functions come before objects before others, and of each global symbols before weak and
// local ones. A program without symbols, or without any that the pattern matches, gives no lines.

#include <cstring>

#include "examples/kiv_inspect/command.h"
#include "examples/kiv_inspect/name_text.h"
#include "examples/kiv_inspect/output.h"
#include "examples/kiv_inspect/program.h"
#include "kiv_string_pattern.h"

namespace kiv::inspect {
namespace {

constexpr char kKindLetters[] = {'F', 'O', '-'};  // by SymbolKind

struct Options {
  bool regex = false;
  const char *path = nullptr;
  const char *pattern = nullptr;  // null: all symbols
};

/// The option may stand anywhere.
bool parse(Arguments arguments, Options *options) {
  for (int i = 0; i < arguments.count; ++i) {
    const char *argument = arguments.values[i];
    if (std::strcmp(argument, "--regex") == 0 && !options->regex) {
      options->regex = true;
    } else if (options->path == nullptr) {
      options->path = argument;
    } else if (options->pattern == nullptr) {
      options->pattern = argument;
    } else {
      return false;
    }
  }
  return options->path != nullptr && (options->pattern != nullptr || !options->regex);
}

constexpr AddressMessage kLine = {"[0_u64x.8] [1_c] [2_S][|]", "[0_u64x.16] [1_c] [2_S][|]"};

struct Listing {
  const KIV_UNICHAR *pattern;
  bool regex;
  const char *line;
  const Errors &errors;
  Output &output;
  NameText name;
  Status status;

  bool chooses(const KIV_UNICHAR *text) const {
    if (pattern == nullptr) return true;
    return regex ? kiv_string_substr_matches_with_regular_expression(text, pattern, nullptr, 0) >= 0
                 : kiv_string_matches_using_wildcards(text, pattern) != 0;
  }
};

/// Goes on until standard output or memory fails.
int print_if_matching(void *value, void *context) {
  const auto &symbol = *static_cast<const Symbol *>(value);
  auto &listing = *static_cast<Listing *>(context);
  const KIV_UNICHAR *name = listing.name.decode(symbol.name);
  if (name == nullptr) {
    listing.status = listing.errors.out_of_memory();
  } else if (listing.chooses(name)) {
    const char kind = kKindLetters[static_cast<int>(symbol.kind)];
    listing.status = listing.output.line(listing.line, symbol.address, kind, name);
  }
  return listing.status.ok() && !listing.output.has_failed();
}

Status list(const Arguments &arguments, const Options &options) {
  const Errors &errors = arguments.errors;
  Program program(errors, arguments.allocator);
  Status status = program.load(options.path);
  if (status.ok()) status = program.load_symbols();
  if (!status.ok()) return status;
  const SymbolTable &symbols = program.symbols();
  NameText pattern(arguments.allocator);
  Output output(stdout, errors, arguments.allocator);
  Listing listing = {
      nullptr, options.regex, kLine.of(symbols.address_digits), errors, output, NameText(arguments.allocator), {}};
  if (options.pattern != nullptr) {
    listing.pattern = pattern.decode(options.pattern);
    if (listing.pattern == nullptr) return errors.out_of_memory();
  }
  symbols.walk(print_if_matching, &listing);
  return listing.status.ok() ? output.finish() : listing.status;
}

}  // namespace

Outcome run_symbols(Arguments arguments) {
  Options options;
  if (!parse(arguments, &options)) return Outcome::wrong_usage;
  return finish(arguments, list(arguments, options), "the symbols of \"[0_S]\" cannot be listed[|]", options.path);
}

}  // namespace kiv::inspect
