// kiv_inspect symbols PROGRAM [PATTERN]: a line "ADDRESS KIND NAME" for each symbol, in the order of the addresses. At
// one address functions come before objects before others, and of each global symbols before weak and local ones. A
// program without symbols, or without any that the pattern matches, gives no lines.

#include <cstdio>

#include "examples/kiv_inspect/command.h"
#include "examples/kiv_inspect/output.h"
#include "examples/kiv_inspect/program.h"
#include "examples/kiv_inspect/wildcard.h"

namespace kiv::inspect {
namespace {

constexpr char kKindLetters[] = {'F', 'O', '-'};  // by SymbolKind

struct Listing {
  const char *pattern;
  int address_digits;
};

/// Goes on until standard output fails.
int print_if_matching(void *value, void *context) {
  const auto &symbol = *static_cast<const Symbol *>(value);
  const auto &listing = *static_cast<const Listing *>(context);
  if (!matches_wildcard(listing.pattern, symbol.name)) return 1;
  print_address(symbol.address, listing.address_digits);
  std::printf(" %c ", kKindLetters[static_cast<int>(symbol.kind)]);
  print_name(symbol.name);
  std::putchar('\n');
  return std::ferror(stdout) == 0;
}

}  // namespace

Outcome run_symbols(Arguments arguments) {
  Program program(arguments.allocator);
  const char *path = arguments.values[0];
  const Status status = program.load(path);
  if (!status.ok()) return fail(path, status);
  Listing listing = {arguments.count > 1 ? arguments.values[1] : "*", program.symbols().address_digits};
  program.symbols().walk(print_if_matching, &listing);
  return finish_output();
}

}  // namespace kiv::inspect
