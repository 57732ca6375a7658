#include "examples/kiv_inspect/program.h"

#include "examples/kiv_inspect/constant_reader.h"
#include "examples/kiv_inspect/file_bytes.h"
#include "examples/kiv_inspect/program_format.h"
#include "examples/kiv_inspect/symbol_readers.h"
#include "examples/kiv_inspect/type_reader.h"

namespace kiv::inspect {
namespace {

constexpr uint32_t kChunkSize = 1u << 16;

}  // namespace

Status read_symbols(ByteView file, SymbolTable &table) {
  ProgramFormat format;
  const Status status = recognise(table.errors(), file, &format);
  if (!status.ok()) return status;
  return format == ProgramFormat::elf ? read_elf_symbols(file, table) : read_pe_symbols(file, table);
}

Program::Program(const Errors &errors, KIV_ALLOCATOR *parent)
    : errors_(errors),
      parent_(parent),
      memory_(kiv_allocator_wrap_new(&storage_, parent, 0)),
      symbols_(errors),
      sections_(errors),
      constants_(errors),
      types_(errors),
      memory_map_(errors) {}

Program::~Program() {
  if (memory_ != nullptr) kiv_allocator_wrap_delete(memory_);
}

Status Program::load(const char *path) {
  if (memory_ == nullptr || kiv_allocator_fast_new(&pool_, memory_, 0, nullptr, 0, kChunkSize) != 0)
    return errors_.out_of_memory();
  return read_file(errors_, path, memory_, &file_);
}

Status Program::load_symbols() {
  const Status status = symbols_.open(&pool_);
  return status.ok() ? errors_.add(read_symbols(file_, symbols_), "its symbols cannot be read[|]") : status;
}

Status Program::load_extents() {
  const Status status = sections_.open(file_, &pool_);
  if (status.ok()) symbols_.estimate_sizes(sections_);
  return errors_.add(status, "its sections cannot be read[|]");
}

Status Program::load_constants() {
  const Status status = constants_.open(&pool_, parent_);
  return status.ok() ? errors_.add(read_constants(file_, constants_), "its constants cannot be read[|]") : status;
}

Status Program::load_types() {
  const Status status = types_.open(&pool_);
  return status.ok() ? errors_.add(read_types(file_, types_), "its types cannot be read[|]") : status;
}

Status Program::load_memory() {
  return errors_.add(memory_map_.open(file_, &pool_), "its memory cannot be laid out[|]");
}

}  // namespace kiv::inspect
