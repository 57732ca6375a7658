// kiv_inspect resolve PROGRAM HEX...: a line "ADDRESS NAME+0xOFFSET" for each address, with the nearest symbol at or
// below it; "ADDRESS NAME" where it starts, "ADDRESS no symbol" below all symbols. How large a symbol is does not
// count: many have no size.

#include "examples/kiv_inspect/command.h"
#include "examples/kiv_inspect/name_text.h"
#include "examples/kiv_inspect/number_arguments.h"
#include "examples/kiv_inspect/output.h"
#include "examples/kiv_inspect/program.h"

namespace kiv::inspect {
namespace {

constexpr AddressMessage kNone = {"[0_u64x.8] no symbol[|]", "[0_u64x.16] no symbol[|]"};
constexpr AddressMessage kStart = {"[0_u64x.8] [1_S][|]", "[0_u64x.16] [1_S][|]"};
constexpr AddressMessage kInside = {"[0_u64x.8] [1_S]+0x[2_u64x][|]", "[0_u64x.16] [1_S]+0x[2_u64x][|]"};

Status print_resolved(const SymbolTable &symbols, uint64_t address, NameText &text, Output &output) {
  const int digits = symbols.address_digits;
  const Symbol *symbol = symbols.nearest(address);
  if (symbol == nullptr) return output.line(kNone.of(digits), address);
  const KIV_UNICHAR *name = text.decode(symbol->name);
  if (name == nullptr) return symbols.errors().out_of_memory();
  if (symbol->address == address) return output.line(kStart.of(digits), address, name);
  return output.line(kInside.of(digits), address, name, address - symbol->address);
}

Status resolve(const Arguments &arguments) {
  Program program(arguments.errors, arguments.allocator);
  Status status = program.load(arguments.values[0]);
  if (status.ok()) status = program.load_symbols();
  NameText text(arguments.allocator);
  Output output(stdout, arguments.errors, arguments.allocator);
  for (int i = 1; i < arguments.count && status.ok(); ++i) {
    status = print_resolved(program.symbols(), *parse_address(arguments.values[i]), text, output);
  }
  return status.ok() ? output.finish() : status;
}

}  // namespace

Outcome run_resolve(Arguments arguments) {
  for (int i = 1; i < arguments.count; ++i) {
    if (!parse_address(arguments.values[i])) return Outcome::wrong_usage;
  }
  return finish(arguments, resolve(arguments), "addresses in \"[0_S]\" cannot be resolved[|]", arguments.values[0]);
}

}  // namespace kiv::inspect
