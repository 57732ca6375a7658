#include "examples/kiv_inspect/program.h"

#include "examples/kiv_inspect/constant_reader.h"
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

Status Program::load(const char *path) { return memory_ != nullptr ? read_file(path, memory_, &file_) : kOutOfMemory; }

Status Program::load_symbols() {
  const Status status = symbols_.open(memory_);
  return status.ok() ? read_symbols(file_, symbols_) : status;
}

Status Program::load_constants() {
  const Status status = constants_.open(memory_);
  return status.ok() ? read_constants(file_, constants_) : status;
}

Status Program::load_memory() { return memory_map_.open(file_, memory_); }

}  // namespace kiv::inspect
