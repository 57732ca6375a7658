// kiv_inspect resolve PROGRAM HEX|NAME...: for each address a line "ADDRESS NAME+0xOFFSET", with the nearest symbol at
// or below it; "ADDRESS NAME" where it starts, "ADDRESS no symbol" below all symbols. How large a symbol is does not
// count: many have no size. For each name a line "ADDRESS NAME" for every symbol that has it, or "NAME no symbol".

#include "examples/kiv_inspect/command.h"
#include "examples/kiv_inspect/name_lookup.h"
#include "examples/kiv_inspect/name_text.h"
#include "examples/kiv_inspect/number_arguments.h"
#include "examples/kiv_inspect/output.h"

namespace kiv::inspect {
namespace {

/// What begins with a digit is an address, even a bad one, and so is any other number.
bool is_name(const char *argument) {
  const bool has_digit = *argument >= '0' && *argument <= '9';
  return *argument != '\0' && !has_digit && !parse_address(argument);
}

constexpr AddressMessage kNone = {"[0_u64x.8] no symbol[|]", "[0_u64x.16] no symbol[|]"};
constexpr AddressMessage kStart = {"[0_u64x.8] [1_S][|]", "[0_u64x.16] [1_S][|]"};
constexpr AddressMessage kInside = {"[0_u64x.8] [1_S]+0x[2_u64x][|]", "[0_u64x.16] [1_S]+0x[2_u64x][|]"};

Status print_nearest(const SymbolTable &symbols, uint64_t address, NameText &text, Output &output) {
  const int digits = symbols.address_digits;
  const Symbol *symbol = symbols.nearest(address);
  if (symbol == nullptr) return output.line(kNone.of(digits), address);
  const KIV_UNICHAR *name = text.decode(symbol->name);
  if (name == nullptr) return symbols.errors().out_of_memory();
  if (symbol->address == address) return output.line(kStart.of(digits), address, name);
  return output.line(kInside.of(digits), address, name, address - symbol->address);
}

Status print_named(const SymbolTable &symbols, const NameLookup::Match *matches, const KIV_UNICHAR *name,
                   Output &output) {
  if (matches == nullptr) return output.line("[0_S] no symbol[|]", name);
  Status status;
  for (; matches != nullptr && status.ok(); matches = matches->next) {
    status = output.line(kStart.of(symbols.address_digits), matches->symbol->address, name);
  }
  return status;
}

/// Finds all names that are asked for in one go.
Status look_up(const Arguments &arguments, const SymbolTable &symbols, NameText &text, NameLookup *lookup) {
  bool any = false;
  for (int i = 0; i < arguments.count; ++i) {
    if (!is_name(arguments.values[i])) continue;
    any = true;
    const KIV_UNICHAR *name = text.decode(arguments.values[i]);
    const Status status = name != nullptr ? lookup->want(name) : arguments.errors.out_of_memory();
    if (!status.ok()) return status;
  }
  return any ? lookup->search(symbols) : Status{};
}

Status resolve(const Arguments &arguments) {
  const Errors &errors = arguments.errors;
  Status status = arguments.load({&Program::load_symbols});
  if (!status.ok()) return status;
  const SymbolTable &symbols = arguments.program().symbols();
  NameText text(arguments.allocator);
  MemoryPool memory(arguments.allocator);
  if (!memory.ok()) return errors.out_of_memory();
  NameLookup lookup(errors, memory.pool());
  status = look_up(arguments, symbols, text, &lookup);
  Output output(arguments.out, errors, arguments.allocator);
  for (int i = 0; i < arguments.count && status.ok() && !output.has_failed(); ++i) {
    output.progress(static_cast<uint64_t>(i), static_cast<uint64_t>(arguments.count));
    if (!is_name(arguments.values[i])) {
      status = print_nearest(symbols, *parse_address(arguments.values[i]), text, output);
      continue;
    }
    const KIV_UNICHAR *name = text.decode(arguments.values[i]);
    if (name == nullptr) return errors.out_of_memory();
    status = print_named(symbols, lookup.matches(name), name, output);
  }
  return status.ok() ? output.finish() : status;
}

}  // namespace

Outcome run_resolve(Arguments arguments) {
  if (!arguments.take_path()) return Outcome::wrong_usage;
  for (int i = 0; i < arguments.count; ++i) {
    if (!is_name(arguments.values[i]) && !parse_address(arguments.values[i])) return Outcome::wrong_usage;
  }
  return finish(arguments, resolve(arguments), "addresses in \"[0_S]\" cannot be resolved[|]");
}

}  // namespace kiv::inspect
