// The names of the kinds of sections, as the descriptions of the formats have them.
#ifndef KIV_INSPECT_SECTION_KIND_H
#define KIV_INSPECT_SECTION_KIND_H

#include <cstdint>

namespace kiv::inspect {

/// Of a section type without its SHT_, NOBITS for instance; null when it has no name.
const char *elf_section_kind(uint32_t type);

/// Of what the characteristics of a PE section say it contains: CODE, DATA, BSS, or OTHER.
const char *pe_section_kind(uint32_t characteristics);

}  // namespace kiv::inspect

#endif
