// Capstone as the disassembler.
//
// Addresses among the operands are found in their text, as the numbers that it has: Capstone computes the targets of
// branches on every machine, but tells which operands these are on few. Only addresses that the text does not have are
// taken from Capstone's details.

#include <capstone/capstone.h>

#include <algorithm>
#include <iterator>

#include "examples/kiv_inspect/instruction_decoder.h"

namespace kiv::inspect {
namespace {

struct Row {
  Machine machine;
  ByteOrder order;
  cs_arch architecture;
  unsigned mode;
  uint32_t unit;
  std::string_view number;    // what stands in front of a hexadecimal one
  std::string_view branches;  // the letters that the names of branches begin with, and nothing with another number does
};

constexpr unsigned kBig = 1u << 31;  // CS_MODE_BIG_ENDIAN, which is negative

// Instructions are in the byte order of the data but for AArch64, whose are always little endian; those of big-endian
// ARM are in either order.
constexpr Row kRows[] = {
    {Machine::x86, ByteOrder::little, CS_ARCH_X86, CS_MODE_32, 1, "0x", ""},
    {Machine::x86_64, ByteOrder::little, CS_ARCH_X86, CS_MODE_64, 1, "0x", ""},
    {Machine::arm, ByteOrder::little, CS_ARCH_ARM, CS_MODE_V8, 4, "0x", ""},
    {Machine::thumb, ByteOrder::little, CS_ARCH_ARM, CS_MODE_THUMB | CS_MODE_V8, 2, "0x", ""},
    {Machine::aarch64, ByteOrder::little, CS_ARCH_ARM64, 0, 4, "0x", ""},
    {Machine::aarch64, ByteOrder::big, CS_ARCH_ARM64, 0, 4, "0x", ""},
    {Machine::mips, ByteOrder::little, CS_ARCH_MIPS, CS_MODE_MIPS32, 4, "0x", "bj"},
    {Machine::mips, ByteOrder::big, CS_ARCH_MIPS, CS_MODE_MIPS32 | kBig, 4, "0x", "bj"},
    {Machine::mips64, ByteOrder::little, CS_ARCH_MIPS, CS_MODE_MIPS64, 4, "0x", "bj"},
    {Machine::mips64, ByteOrder::big, CS_ARCH_MIPS, CS_MODE_MIPS64 | kBig, 4, "0x", "bj"},
    {Machine::powerpc, ByteOrder::big, CS_ARCH_PPC, CS_MODE_32 | kBig, 4, "0x", "b"},
    {Machine::powerpc64, ByteOrder::big, CS_ARCH_PPC, CS_MODE_64 | kBig, 4, "0x", "b"},
    {Machine::powerpc64, ByteOrder::little, CS_ARCH_PPC, CS_MODE_64, 4, "0x", "b"},
    {Machine::sparc, ByteOrder::big, CS_ARCH_SPARC, kBig, 4, "0x", "b"},
    {Machine::sparc_v9, ByteOrder::big, CS_ARCH_SPARC, CS_MODE_V9 | kBig, 4, "0x", "b"},
    {Machine::s390, ByteOrder::big, CS_ARCH_SYSZ, kBig, 2, "0x", "j"},
    {Machine::m68k, ByteOrder::big, CS_ARCH_M68K, CS_MODE_M68K_040 | kBig, 2, "$", ""},
};

int digit_of(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  return c >= 'a' && c <= 'f' ? c - 'a' + 10 : -1;
}

bool is_branch(const Row &row, const cs_insn &insn) {
  const std::string_view mnemonic = insn.mnemonic;
  const uint8_t *groups = insn.detail->groups;
  return mnemonic == "call" || row.branches.find(insn.mnemonic[0]) != row.branches.npos ||
         std::any_of(groups, groups + insn.detail->groups_count, [](uint8_t group) {
           return group == CS_GRP_JUMP || group == CS_GRP_CALL || group == CS_GRP_BRANCH_RELATIVE;
         });
}

/// Whether the last number is an address, by what the instruction does. Numbers in brackets are added to registers.
bool has_address(const Row &row, const cs_insn &insn, const Instruction &instruction) {
  const std::string_view mnemonic = instruction.mnemonic;
  if (instruction.operands.find('[') != instruction.operands.npos) return false;
  if (is_branch(row, insn)) return true;
  if (row.architecture == CS_ARCH_ARM64) return mnemonic.starts_with("adr") || mnemonic.starts_with("ldr");
  return row.architecture == CS_ARCH_SYSZ && (mnemonic == "larl" || mnemonic.starts_with("bras"));
}

/// The address of memory that is relative to the instruction, which is behind it on x86 and two units of the machine
/// away on ARM.
bool relative_address(const Row &row, const cs_insn &insn, uint64_t *address) {
  if (row.architecture == CS_ARCH_X86) {
    const cs_x86 &x86 = insn.detail->x86;
    for (uint32_t i = 0; i < x86.op_count; ++i) {
      const cs_x86_op &operand = x86.operands[i];
      if (operand.type != X86_OP_MEM || operand.mem.base != X86_REG_RIP) continue;
      *address = insn.address + insn.size + static_cast<uint64_t>(operand.mem.disp);
      return true;
    }
  } else if (row.architecture == CS_ARCH_ARM) {
    const cs_arm &arm = insn.detail->arm;
    for (uint32_t i = 0; i < arm.op_count; ++i) {
      const cs_arm_op &operand = arm.operands[i];
      if (operand.type != ARM_OP_MEM || operand.mem.base != ARM_REG_PC || operand.mem.index != ARM_REG_INVALID)
        continue;
      *address =
          (insn.address & ~uint64_t{3}) + 2 * uint64_t{row.unit} + static_cast<uint64_t>(int64_t{operand.mem.disp});
      return true;
    }
  }
  return false;
}

/// Adds the numbers of the operands that are not negative.
void find_numbers(std::string_view prefix, bool skips_brackets, Instruction *instruction) {
  const std::string_view text = instruction->operands;
  size_t at = 0;
  while ((at = text.find(prefix, at)) != text.npos && instruction->reference_count < Instruction::kMostReferences - 1) {
    Reference reference = {0, static_cast<uint32_t>(at), 0, false};
    const bool negative = at > 0 && text[at - 1] == '-';
    const bool skipped =
        skips_brackets && text.substr(0, at).rfind('[') != text.npos && text.substr(at).find(']') != text.npos;
    at += prefix.size();
    for (int digit; at < text.size() && (digit = digit_of(text[at])) >= 0; ++at) {
      reference.address = reference.address << 4 | static_cast<unsigned>(digit);
    }
    reference.length = static_cast<uint32_t>(at) - reference.at;
    if (!negative && !skipped) instruction->references[instruction->reference_count++] = reference;
  }
}

}  // namespace

bool InstructionDecoder::is_built_in() { return true; }

InstructionDecoder::~InstructionDecoder() {
  if (storage_ != nullptr) cs_free(static_cast<cs_insn *>(storage_), 1);
  if (handle_ != 0) (void)cs_close(&handle_);
}

Status InstructionDecoder::open(Machine machine, ByteOrder order) {
  const auto *row = std::find_if(std::begin(kRows), std::end(kRows),
                                 [&](const Row &r) { return r.machine == machine && r.order == order; });
  const bool is_known = row != std::end(kRows) && cs_support(row->architecture);
  if (!is_known) return errors_.failure("the instructions of its machine are not known[|]");
  if (cs_open(row->architecture, static_cast<cs_mode>(row->mode), &handle_) != CS_ERR_OK ||
      cs_option(handle_, CS_OPT_DETAIL, CS_OPT_ON) != CS_ERR_OK) {
    return errors_.out_of_memory();
  }
  storage_ = cs_malloc(handle_);
  if (storage_ == nullptr) return errors_.out_of_memory();
  machine_ = row;
  unit_ = row->unit;
  return {};
}

bool InstructionDecoder::decode(const uint8_t *bytes, uint32_t size, uint64_t address, Instruction *instruction) {
  const auto &row = *static_cast<const Row *>(machine_);
  auto &insn = *static_cast<cs_insn *>(storage_);
  size_t left = size;
  if (!cs_disasm_iter(handle_, &bytes, &left, &address, &insn)) return false;
  *instruction = {insn.address, insn.size, insn.mnemonic, insn.op_str, {}, 0};
  Reference relative = {};
  const bool is_relative = relative_address(row, insn, &relative.address);
  find_numbers(row.number, is_relative, instruction);
  uint32_t &count = instruction->reference_count;
  if (count > 0) instruction->references[count - 1].is_certain = has_address(row, insn, *instruction);
  relative.is_certain = true;
  if (is_relative) instruction->references[count++] = relative;
  return true;
}

}  // namespace kiv::inspect
