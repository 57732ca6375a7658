// kiv_inspect sections PROGRAM: a line "FIRST LAST SIZE KIND NAME" for each section, in the order of the addresses;
// behind them, and with dashes for addresses, those that take no memory in the running program.

#include <cstdio>

#include "examples/kiv_inspect/command.h"
#include "examples/kiv_inspect/name_text.h"
#include "examples/kiv_inspect/output.h"

namespace kiv::inspect {
namespace {

constexpr AddressMessage kLine = {"[0_u64x.8] [1_u64x.8] [2_u64d8] [3_s-11] [4_S][|]",
                                  "[0_u64x.16] [1_u64x.16] [2_u64d8] [3_s-11] [4_S][|]"};
constexpr AddressMessage kLineWithoutMemory = {"-------- -------- [2_u64d8] [3_s-11] [4_S][|]",
                                               "---------------- ---------------- [2_u64d8] [3_s-11] [4_S][|]"};

struct Listing {
  const Arguments &arguments;
  int digits;
  NameText text{arguments.allocator};
  Output output{arguments.out, arguments.errors, arguments.allocator};
  Status status = {};

  void print(const Section &section) {
    char number[16];
    (void)std::snprintf(number, sizeof number, "0x%x", static_cast<unsigned>(section.type));
    const char *kind = section.kind != nullptr ? section.kind : number;
    const KIV_UNICHAR *name = text.decode(section.name);
    const char *line = (section.takes_memory ? kLine : kLineWithoutMemory).of(digits);
    status = name == nullptr
                 ? arguments.errors.out_of_memory()
                 : output.line(line, section.addresses.first, section.addresses.last, section.size, kind, name);
  }
};

int print_section(void *section, void *context) {
  auto &listing = *static_cast<Listing *>(context);
  listing.print(*static_cast<const Section *>(section));
  return listing.status.ok() && !listing.output.has_failed() ? 1 : 0;
}

Status list(const Arguments &arguments) {
  const Status status = arguments.load({&Program::load_all_sections});
  if (!status.ok()) return status;
  const SectionTable &sections = arguments.program().all_sections();
  Listing listing = {arguments, sections.address_digits()};
  sections.walk(print_section, &listing);
  return listing.status.ok() ? listing.output.finish() : listing.status;
}

}  // namespace

Outcome run_sections(Arguments arguments) {
  if (!arguments.take_path()) return Outcome::wrong_usage;
  return finish(arguments, list(arguments), "the sections of \"[0_S]\" cannot be listed[|]");
}

}  // namespace kiv::inspect
