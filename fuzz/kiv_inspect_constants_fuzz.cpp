// Feeds foreign bytes to the readers of debug information and of memory in kiv_inspect. Whatever they make of them, the
// constants are told apart and can be shown, and memory can be read wherever it is said to be.

#include <algorithm>
#include <cstdlib>

#include "examples/kiv_inspect/constant_reader.h"
#include "examples/kiv_inspect/program.h"

namespace {

using namespace kiv::inspect;

void require(bool holds) {
  if (!holds) std::abort();
}

void check_constants(const Errors &errors, ByteView file, KIV_ALLOCATOR *memory) {
  ConstantTable table(errors);
  if (!table.open(memory).ok()) return;
  (void)read_constants(file, table).ok();
  for (const Constant *c = table.first(); c != nullptr; c = c->next) {
    require(!c->name.empty());
    require(c->next == nullptr || c->next->kind != c->kind || c->next->name != c->name ||
            compare_values(c->next->value, c->value) != 0);
    char text[kFloatTextSize];
    format_number(c->value, text);
    require(std::find(text, text + sizeof text, '\0') != text + sizeof text);
  }
}

/// The first bytes of the input also are the addresses that are asked for.
void check_memory(const Errors &errors, ByteView file, KIV_ALLOCATOR *memory) {
  MemoryMap map(errors);
  if (!map.open(file, memory).ok()) return;
  uint8_t bytes[64];
  for (uint32_t at = 0; at < std::min(file.size(), 256u); at += 8) {
    for (const uint64_t address : {file.number({at, 8}), file.number({at, 4}), file.number({at, 2}) << 12}) {
      if (map.contains(address, sizeof bytes)) map.read(address, sizeof bytes, bytes);
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  if (size > UINT32_MAX) return 0;
  KIV_ALLOCATOR heap, wrap;
  require(kiv_allocator_wrap_new(&wrap, kiv_allocator_default_new(&heap), 0) != nullptr);
  const ByteView file(data, static_cast<uint32_t>(size), ByteOrder::little);
  {
    const Errors errors(&wrap);
    check_constants(errors, file, &wrap);
    check_memory(errors, file, &wrap);
  }
  kiv_allocator_wrap_delete(&wrap);
  return 0;
}
