// Sources: the machine numbers of the System V ABI's registry, and Microsoft's PE format.

#include "examples/kiv_inspect/machine.h"

namespace kiv::inspect {

Machine elf_machine(uint32_t number, bool has_64_bits) {
  switch (number) {
    case 2:
    case 18:
      return Machine::sparc;
    case 3:
      return Machine::x86;
    case 4:
      return Machine::m68k;
    case 8:
      return has_64_bits ? Machine::mips64 : Machine::mips;
    case 20:
      return Machine::powerpc;
    case 21:
      return Machine::powerpc64;
    case 22:
      return Machine::s390;
    case 40:
      return Machine::arm;
    case 43:
      return Machine::sparc_v9;
    case 62:
      return Machine::x86_64;
    case 183:
      return Machine::aarch64;
    default:
      return Machine::unknown;
  }
}

Machine pe_machine(uint32_t number) {
  switch (number) {
    case 0x14C:
      return Machine::x86;
    case 0x8664:
      return Machine::x86_64;
    case 0x1C0:
      return Machine::arm;
    case 0x1C2:
    case 0x1C4:
      return Machine::thumb;
    case 0xAA64:
      return Machine::aarch64;
    default:
      return Machine::unknown;
  }
}

}  // namespace kiv::inspect
