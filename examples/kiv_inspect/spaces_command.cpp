// kiv_inspect spaces [--space NAME:NUMBER:BITS]... PROGRAM: for each memory space a line "NUMBER "NAME" "NAME OF ITS
// ADDRESS SPACE" BITS", and below it one "  FIRST LAST" with the addresses that it has, in its own units, or for each
// of its sections "  FIRST LAST NAME".

#include "examples/kiv_inspect/command.h"
#include "examples/kiv_inspect/name_text.h"
#include "examples/kiv_inspect/output.h"
#include "examples/kiv_inspect/target_spaces.h"

namespace kiv::inspect {
namespace {

constexpr const char *kSpace = "[0_u64] \"[1_S]\" \"[2_S]\" [3_u32][|]";
constexpr AddressMessage kUnits = {"  [0_u64x.8] [1_u128x.8][|]", "  [0_u64x.16] [1_u128x.16][|]"};
constexpr AddressMessage kSection = {"  [0_u64x.8] [1_u64x.8] [2_S][|]", "  [0_u64x.16] [1_u64x.16] [2_S][|]"};

/// The last unit that begins in a program with addresses of so many hexadecimal digits.
KIV_U128 last_unit(int digits, uint32_t bits_per_unit) {
  const uint64_t last_byte = digits == 8 ? UINT32_MAX : UINT64_MAX;
  KIV_U128 last = {last_byte >> 61, last_byte << 3 | 7};  // the last bit
  const KIV_U128 divisor = {0, bits_per_unit};
  (void)kiv_u128_div(&last, &divisor);
  return last;
}

struct SectionLines {
  const KIV_TARGET_MEMSPACE &space;
  const Errors &errors;
  Output &output;
  NameText &text;
  const char *line;
  Status status;
};

int print_section(void *value, void *context) {
  const auto &section = *static_cast<const Section *>(value);
  auto &lines = *static_cast<SectionLines *>(context);
  if (!TargetSpaces::has_section(lines.space, section)) return 1;
  const KIV_UNICHAR *name = lines.text.decode(section.name);
  lines.status = name != nullptr ? lines.output.line(lines.line, section.addresses.first, section.addresses.last, name)
                                 : lines.errors.out_of_memory();
  return lines.status.ok();
}

Status list(const Arguments &arguments, const TargetSpaces &spaces) {
  Status status = arguments.load({&Program::load_sections});
  const SectionTable &sections = arguments.program().sections();
  const int digits = sections.address_digits();
  NameText text(arguments.allocator);
  Output output(arguments.out, arguments.errors, arguments.allocator);
  for (uint32_t i = 0; i < spaces.count() && status.ok() && !output.has_failed(); ++i) {
    const KIV_TARGET_MEMSPACE &space = spaces[i];
    const uint64_t number = static_cast<uint64_t>(space.number_high) << 32 | space.number_low;
    status = output.line(kSpace, number, space.name, space.as_name, space.bits_per_unit);
    if (!status.ok()) return status;
    if (TargetSpaces::has_sections(space)) {
      SectionLines lines = {space, arguments.errors, output, text, kSection.of(digits), {}};
      sections.walk(print_section, &lines);
      status = lines.status;
    } else {
      status = output.line(kUnits.of(digits), uint64_t{0}, last_unit(digits, space.bits_per_unit));
    }
  }
  return status.ok() ? output.finish() : status;
}

}  // namespace

Outcome run_spaces(Arguments arguments) {
  TargetSpaces spaces(arguments.errors, arguments.allocator);
  const Status status = spaces.open();
  if (status.ok() && !spaces.take_options(&arguments)) return Outcome::wrong_usage;
  if (!arguments.take_path() || arguments.count != 0) return Outcome::wrong_usage;
  return finish(arguments, status.ok() ? list(arguments, spaces) : status,
                "the memory spaces of \"[0_S]\" cannot be listed[|]");
}

}  // namespace kiv::inspect
