#include "examples/kiv_inspect/program_format.h"

#include "examples/kiv_inspect/elf_image.h"
#include "examples/kiv_inspect/pe_image.h"

namespace kiv::inspect {

Status recognise(const Errors &errors, FileView file, ProgramFormat *format) {
  const bool is_elf = ElfImage::recognises(file);
  if (!is_elf && !PeImage::recognises(file)) return errors.failure("it is neither an ELF nor a PE file[|]");
  *format = is_elf ? ProgramFormat::elf : ProgramFormat::pe;
  return {};
}

}  // namespace kiv::inspect
