// The text of an instruction: literal parts, and symbolic ones for the addresses that have symbols.
#ifndef KIV_INSPECT_INSTRUCTION_TEXT_H
#define KIV_INSPECT_INSTRUCTION_TEXT_H

#include "examples/kiv_inspect/instruction_decoder.h"
#include "examples/kiv_inspect/memory_map.h"
#include "examples/kiv_inspect/name_text.h"
#include "examples/kiv_inspect/symbol_table.h"
#include "kiv_disasm.h"

namespace kiv::inspect {

/// A symbol, and the distance from it.
struct SymbolPlace {
  const Symbol *symbol;  // null: all symbols lie above
  uint64_t offset;
};

class InstructionText {
 public:
  /// REQUIRES: all of these outlive this.
  InstructionText(const SymbolTable &symbols, const MemoryMap &memory, Machine machine, const Errors &errors,
                  KIV_ALLOCATOR *allocator);
  ~InstructionText();
  InstructionText(const InstructionText &) = delete;
  InstructionText &operator=(const InstructionText &) = delete;

  /// The nearest symbol at or below an address. The lowest bit of an address tells Thumb code in symbols of functions,
  /// but not in branches to them.
  SymbolPlace place_of(uint64_t address) const;

  /// Makes the parts of an instruction in place of those that there were. A symbolic part's text is "name" or
  /// "name+0xoffset", its symbol the name, and its value the address, low word first.
  Status compose(const Instruction &instruction);

  /// The same of bytes that are no instruction.
  Status compose_bytes(const uint8_t *bytes, uint32_t count);

  /// The parts as one text, a symbolic one as "0xaddress <name+0xoffset>"; valid until the next call, null without
  /// memory.
  const KIV_UNICHAR *render();

 private:
  bool is_address(const Reference &reference) const;
  Status append(std::string_view literal);
  Status append_symbolic(uint64_t address, const SymbolPlace &place);
  bool add(const KIV_UNICHAR *text);

  const SymbolTable &symbols_;
  const MemoryMap &memory_;
  const uint64_t code_bit_;
  const bool moves_;  // whether the program is loaded elsewhere, so that no number in it is an address
  const Errors &errors_;
  KIV_ALLOCATOR *allocator_;
  NameText name_;
  KIV_DBLL_NODE parts_;
  KIV_STRING rendered_ = nullptr;
};

}  // namespace kiv::inspect

#endif
