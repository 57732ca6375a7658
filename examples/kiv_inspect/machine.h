// The processor that a program is for.
#ifndef KIV_INSPECT_MACHINE_H
#define KIV_INSPECT_MACHINE_H

#include <cstdint>

namespace kiv::inspect {

enum class Machine : uint8_t {
  unknown,
  x86,
  x86_64,
  arm,
  thumb,  // ARM's 16-bit instructions
  aarch64,
  mips,
  mips64,
  powerpc,
  powerpc64,
  sparc,
  sparc_v9,
  s390,
  m68k,
};

/// By the number in the header of an ELF file, and by that of a PE file.
Machine elf_machine(uint32_t number, bool has_64_bits);
Machine pe_machine(uint32_t number);

}  // namespace kiv::inspect

#endif
