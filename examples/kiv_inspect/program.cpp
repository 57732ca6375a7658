#include "examples/kiv_inspect/program.h"

#include "examples/kiv_inspect/elf_image.h"
#include "examples/kiv_inspect/file_bytes.h"
#include "examples/kiv_inspect/pe_image.h"
#include "examples/kiv_inspect/symbol_readers.h"

namespace kiv::inspect {

Status read_symbols(ByteView file, SymbolTable &table) {
  if (ElfImage::recognises(file)) return read_elf_symbols(file, table);
  if (PeImage::recognises(file)) return read_pe_symbols(file, table);
  return {"it is neither an ELF nor a PE file"};
}

Program::Program(KIV_ALLOCATOR *parent) : memory_(kiv_allocator_wrap_new(&storage_, parent, 0)) {}

Program::~Program() {
  if (memory_ != nullptr) kiv_allocator_wrap_delete(memory_);
}

Status Program::load(const char *path) {
  if (memory_ == nullptr) return kOutOfMemory;
  Status status = read_file(path, memory_, &file_);
  if (status.ok()) status = symbols_.open(memory_);
  if (status.ok()) status = read_symbols(file_, symbols_);
  return status;
}

}  // namespace kiv::inspect
