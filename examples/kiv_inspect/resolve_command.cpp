// kiv_inspect resolve PROGRAM HEX...: a line "ADDRESS NAME+0xOFFSET" for each address, with the nearest symbol at or
// below it; "ADDRESS NAME" where it starts, "ADDRESS no symbol" below all symbols. How large a symbol is does not
// count: many have no size.

#include <cinttypes>
#include <cstdio>

#include "examples/kiv_inspect/command.h"
#include "examples/kiv_inspect/name_text.h"
#include "examples/kiv_inspect/number_arguments.h"
#include "examples/kiv_inspect/output.h"
#include "examples/kiv_inspect/program.h"

namespace kiv::inspect {
namespace {

Status print_resolved(const SymbolTable &symbols, uint64_t address, NameText &text) {
  const Symbol *symbol = symbols.nearest(address);
  const KIV_UNICHAR *name = symbol != nullptr ? text.decode(symbol->name) : nullptr;
  if (symbol != nullptr && name == nullptr) return kOutOfMemory;
  print_address(address, symbols.address_digits);
  std::putchar(' ');
  if (symbol == nullptr) {
    std::fputs("no symbol", stdout);
  } else {
    print_name(name);
    if (symbol->address != address) std::printf("+0x%" PRIx64, address - symbol->address);
  }
  std::putchar('\n');
  return {};
}

}  // namespace

Outcome run_resolve(Arguments arguments) {
  for (int i = 1; i < arguments.count; ++i) {
    if (!parse_address(arguments.values[i])) return Outcome::wrong_usage;
  }
  Program program(arguments.allocator);
  const char *path = arguments.values[0];
  Status status = program.load(path);
  if (status.ok()) status = program.load_symbols();
  if (!status.ok()) return fail(path, status);
  NameText text(arguments.allocator);
  for (int i = 1; i < arguments.count && status.ok(); ++i) {
    status = print_resolved(program.symbols(), *parse_address(arguments.values[i]), text);
  }
  return status.ok() ? finish_output() : fail(path, status);
}

}  // namespace kiv::inspect
