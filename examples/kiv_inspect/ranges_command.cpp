// kiv_inspect ranges PROGRAM LOW HIGH: a line "FIRST LAST KIND NAME" for each section (S) and symbol that has an
// address from LOW to HIGH, both included, in the order of their first addresses; sections before symbols. A symbol
// whose size nobody knows takes one byte.

#include "examples/kiv_inspect/address_index.h"
#include "examples/kiv_inspect/command.h"
#include "examples/kiv_inspect/name_text.h"
#include "examples/kiv_inspect/number_arguments.h"
#include "examples/kiv_inspect/output.h"
#include "examples/kiv_inspect/program_format.h"

namespace kiv::inspect {
namespace {

constexpr AddressMessage kLine = {"[0_u64x.8] [1_u64x.8] [2_c] [3_S][|]", "[0_u64x.16] [1_u64x.16] [2_c] [3_S][|]"};

Status list(const Arguments &arguments, AddressRange range) {
  const Errors &errors = arguments.errors;
  Status status = arguments.load({&Program::load_symbols, &Program::load_extents});
  if (!status.ok()) return status;
  const Program &program = arguments.program();
  if (!program.sections().is_linked()) return errors.failure(kNotLinked);

  MemoryPool memory(arguments.allocator);
  if (!memory.ok()) return errors.out_of_memory();
  AddressIndex index(errors);
  PointerVector<Occupant> found(arguments.allocator, by_first_address);
  status = index.open(program.sections(), program.symbols(), memory.pool());
  if (status.ok()) status = index.find(range, &found);
  found.sort();
  NameText text(arguments.allocator);
  Output output(arguments.out, errors, arguments.allocator);
  const char *line = kLine.of(program.symbols().address_digits);
  for (uint32_t i = 0; i < found.count() && status.ok() && !output.has_failed(); ++i) {
    output.progress(i, found.count());
    const Occupant &occupant = found[i];
    const KIV_UNICHAR *name = text.decode(occupant.name());
    if (name == nullptr) return errors.out_of_memory();
    const auto [first, last] = occupant.addresses();
    status = output.line(line, first, last, occupant.letter(), name);
  }
  return status.ok() ? output.finish() : status;
}

}  // namespace

Outcome run_ranges(Arguments arguments) {
  if (!arguments.take_path()) return Outcome::wrong_usage;
  const auto low = parse_address(arguments.values[0]), high = parse_address(arguments.values[1]);
  if (!low || !high || *low > *high) return Outcome::wrong_usage;
  return finish(arguments, list(arguments, {*low, *high}), "ranges of \"[0_S]\" cannot be listed[|]");
}

}  // namespace kiv::inspect
