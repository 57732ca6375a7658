// No disassembler.

#include "examples/kiv_inspect/instruction_decoder.h"

namespace kiv::inspect {

bool InstructionDecoder::is_built_in() { return false; }

InstructionDecoder::~InstructionDecoder() = default;

Status InstructionDecoder::open(Machine, ByteOrder) { return errors_.failure("there is no disassembler[|]"); }

bool InstructionDecoder::decode(const uint8_t *, uint32_t, uint64_t, Instruction *) { return false; }

}  // namespace kiv::inspect
