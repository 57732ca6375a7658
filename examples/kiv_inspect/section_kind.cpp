#include "examples/kiv_inspect/section_kind.h"

#include "kiv_enum_translate.h"

namespace kiv::inspect {
namespace {

// Those of processors share their numbers, and are left out.
constexpr KIV_ENUM_NAME kElfTypes[] = {{1, "PROGBITS"},
                                       {2, "SYMTAB"},
                                       {3, "STRTAB"},
                                       {4, "RELA"},
                                       {5, "HASH"},
                                       {6, "DYNAMIC"},
                                       {7, "NOTE"},
                                       {8, "NOBITS"},
                                       {9, "REL"},
                                       {10, "SHLIB"},
                                       {11, "DYNSYM"},
                                       {14, "INIT_ARRAY"},
                                       {15, "FINI_ARRAY"},
                                       {16, "PREINIT_ARRAY"},
                                       {17, "GROUP"},
                                       {18, "SYMTAB_SHNDX"},
                                       {19, "RELR"},
                                       {0x6FFFFFF5, "GNU_ATTRIBUTES"},
                                       {0x6FFFFFF6, "GNU_HASH"},
                                       {0x6FFFFFF7, "GNU_LIBLIST"},
                                       {0x6FFFFFFD, "GNU_verdef"},
                                       {0x6FFFFFFE, "GNU_verneed"},
                                       {0x6FFFFFFF, "GNU_versym"},
                                       {0, nullptr}};

// Some have several bits: code counts before data, and data before zeros.
constexpr uint32_t kCode = 0x20, kData = 0x40, kZeros = 0x80, kContents = 0xE0;
constexpr KIV_ENUM_NAME kPeContents[] = {
    {kCode, "CODE"}, {kCode | kData, "CODE"},  {kCode | kZeros, "CODE"}, {kContents, "CODE"},
    {kData, "DATA"}, {kData | kZeros, "DATA"}, {kZeros, "BSS"},          {0, "OTHER"},
    {0, nullptr}};

}  // namespace

const char *elf_section_kind(uint32_t type) { return kiv_enum_translate_to_string(type, kElfTypes); }

const char *pe_section_kind(uint32_t characteristics) {
  return kiv_enum_translate_to_string(characteristics & kContents, kPeContents);
}

}  // namespace kiv::inspect
