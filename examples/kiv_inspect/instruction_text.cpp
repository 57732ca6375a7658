#include "examples/kiv_inspect/instruction_text.h"

#include <algorithm>
#include <cstdio>

#include "examples/kiv_inspect/message_words.h"
#include "kiv_string.h"

namespace kiv::inspect {
namespace {

constexpr std::string_view kGap = "       ";  // a mnemonic of six characters and the blank behind it

KIV_STRING print(KIV_ALLOCATOR *allocator, const char *message, const void *const *words) {
  return kiv_i18n_prna8(nullptr, allocator, message, words[0], words[1], words[2], words[3], words[4], words[5],
                        words[6], words[7]);
}

uint64_t address_in(const KIV_DISASM_VALUE &value) { return uint64_t{value.words[1]} << 32 | value.words[0]; }

}  // namespace

// What is linked to begin at address 0 is loaded elsewhere.
InstructionText::InstructionText(const SymbolTable &symbols, const MemoryMap &memory, Machine machine,
                                 const Errors &errors, KIV_ALLOCATOR *allocator)
    : symbols_(symbols),
      memory_(memory),
      code_bit_(machine == Machine::thumb ? 1 : 0),
      moves_(memory.contains(0, 1)),
      errors_(errors),
      allocator_(allocator),
      name_(allocator) {
  (void)kiv_dbll_init(&parts_);
}

InstructionText::~InstructionText() {
  kiv_disasm_parts_dealloc(allocator_, &parts_);
  kiv_string_delete(allocator_, rendered_);
}

SymbolPlace InstructionText::place_of(uint64_t address) const {
  const Symbol *symbol = symbols_.nearest(address | code_bit_);
  const auto is_code = [&] { return symbol->kind == SymbolKind::function; };
  if (symbol != nullptr && symbol->address > address && !is_code()) symbol = symbols_.nearest(address);
  if (symbol == nullptr) return {};
  return {symbol, address - (is_code() ? symbol->address & ~code_bit_ : symbol->address)};
}

bool InstructionText::is_address(const Reference &reference) const {
  return (reference.is_certain || !moves_) && memory_.contains(reference.address, 1);
}

Status InstructionText::append(std::string_view literal) {
  const KIV_UNICHAR *text = name_.decode(literal);
  const bool failed = text == nullptr || kiv_disasm_append_literal2(allocator_, &parts_, nullptr, text, 0) != 0;
  return failed ? errors_.out_of_memory() : Status{};
}

Status InstructionText::append_symbolic(uint64_t address, const SymbolPlace &place) {
  const KIV_DISASM_VALUE value = {{static_cast<uint32_t>(address), static_cast<uint32_t>(address >> 32), 0, 0}};
  const KIV_UNICHAR *name = name_.decode(place.symbol->name);
  if (name == nullptr) return errors_.out_of_memory();
  KIV_STRING text =
      place.offset == 0 ? nullptr : print(allocator_, "[0_S]+0x[1_u64x][|]", MessageWords(name, place.offset).words());
  const bool failed = (place.offset != 0 && text == nullptr) ||
                      kiv_disasm_append_symbolic_part2(allocator_, &parts_, nullptr, text != nullptr ? text : name, 0,
                                                       name, &value) != 0;
  kiv_string_delete(allocator_, text);
  return failed ? errors_.out_of_memory() : Status{};
}

Status InstructionText::compose(const Instruction &instruction) {
  kiv_disasm_parts_dealloc(allocator_, &parts_);
  const std::string_view operands = instruction.operands;
  Status status = append(instruction.mnemonic);
  if (status.ok() && !operands.empty())
    status = append(kGap.substr(std::min(instruction.mnemonic.size(), kGap.size() - 1)));
  uint32_t at = 0;  // what stands in front of it is appended
  for (uint32_t i = 0; i < instruction.reference_count && status.ok(); ++i) {
    const Reference &reference = instruction.references[i];
    const SymbolPlace place = is_address(reference) ? place_of(reference.address) : SymbolPlace{};
    if (place.symbol == nullptr) continue;
    const bool is_there = reference.length != 0;
    const uint32_t end = is_there ? reference.at : static_cast<uint32_t>(operands.size());
    status = append(operands.substr(at, end - at));
    if (status.ok() && !is_there) status = append("  # ");
    if (status.ok()) status = append_symbolic(reference.address, place);
    at = end + reference.length;
  }
  return status.ok() ? append(operands.substr(at)) : status;
}

Status InstructionText::compose_bytes(const uint8_t *bytes, uint32_t count) {
  kiv_disasm_parts_dealloc(allocator_, &parts_);
  Status status = append(".byte  ");
  for (uint32_t i = 0; i < count && status.ok(); ++i) {
    char text[8];
    std::snprintf(text, sizeof text, "%s0x%02x", i > 0 ? ", " : "", bytes[i]);
    status = append(text);
  }
  return status;
}

bool InstructionText::add(const KIV_UNICHAR *text) {
  KIV_STRING longer = text != nullptr ? kiv_string_cat(allocator_, rendered_, text, 1) : nullptr;
  if (longer != nullptr) rendered_ = longer;
  return longer != nullptr;
}

const KIV_UNICHAR *InstructionText::render() {
  if (rendered_ != nullptr) rendered_[0] = 0;
  for (const KIV_DBLL_NODE *node = parts_.next; node != nullptr; node = node->next) {
    const auto &part = *static_cast<const KIV_DISASM_PART *>(node->data);
    bool added = false;
    if (part.symbol == nullptr) {
      added = add(part.text);
    } else {
      const KIV_UNICHAR *text = part.text;
      KIV_STRING link = print(allocator_, "0x[0_u64x] <[1_S]>[|]", MessageWords(address_in(part.value), text).words());
      added = add(link);
      kiv_string_delete(allocator_, link);
    }
    if (!added) return nullptr;
  }
  return rendered_;
}

}  // namespace kiv::inspect
