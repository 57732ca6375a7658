// What the tool asks of a disassembler. decoder_capstone.cpp asks Capstone, of Nguyen Anh Quynh; where the build finds
// none for its target, decoder_none.cpp stands in its place.
#ifndef KIV_INSPECT_INSTRUCTION_DECODER_H
#define KIV_INSPECT_INSTRUCTION_DECODER_H

#include <cstdint>
#include <string_view>

#include "examples/kiv_inspect/byte_view.h"
#include "examples/kiv_inspect/machine.h"
#include "examples/kiv_inspect/status.h"

namespace kiv::inspect {

/// An operand that may refer to an address.
struct Reference {
  uint64_t address;
  uint32_t at, length;  // of the number, in the operands; length 0: it is not there, but comes of the operands
  bool is_certain;      // else it may be any number
};

struct Instruction {
  static constexpr uint32_t kMostReferences = 4;

  uint64_t address;
  uint32_t size;
  std::string_view mnemonic, operands;
  Reference references[kMostReferences];  // in the order of their places, that without one last
  uint32_t reference_count;
};

class InstructionDecoder {
 public:
  /// No instruction that is known has more bytes.
  static constexpr uint32_t kMostBytes = 24;

  /// Whether there is a disassembler in this program; the rest REQUIRES it.
  static bool is_built_in();

  /// REQUIRES: the errors outlive this.
  explicit InstructionDecoder(const Errors &errors) : errors_(errors) {}
  ~InstructionDecoder();
  InstructionDecoder(const InstructionDecoder &) = delete;
  InstructionDecoder &operator=(const InstructionDecoder &) = delete;

  /// To be called once, before the following. The order is that of the program's data.
  Status open(Machine machine, ByteOrder order);

  /// The size of what is no instruction: that of the smallest one.
  uint32_t unit() const { return unit_; }

  /// Decodes the instruction that the bytes begin with; false when they begin with none. The texts are valid until the
  /// next call.
  bool decode(const uint8_t *bytes, uint32_t size, uint64_t address, Instruction *instruction);

 private:
  const Errors &errors_;
  uint32_t unit_ = 1;
  // The disassembler's.
  uintptr_t handle_ = 0;
  void *storage_ = nullptr;
  const void *machine_ = nullptr;
};

}  // namespace kiv::inspect

#endif
