// kiv_inspect disasm PROGRAM HEX COUNT: COUNT instructions from an address on, or as many as there are: address, bytes,
// text. Addresses among the operands have the nearest symbol behind them. A line "ADDRESS <NAME>:" stands in front of
// the first instruction, and of each that has a symbol.

#include <algorithm>
#include <cstdio>
#include <optional>

#include "examples/kiv_inspect/command.h"
#include "examples/kiv_inspect/instruction_text.h"
#include "examples/kiv_inspect/number_arguments.h"
#include "examples/kiv_inspect/output.h"

namespace kiv::inspect {
namespace {

struct Request {
  uint64_t address;
  uint64_t count;
};

std::optional<Request> parse(const Arguments &arguments) {
  const auto address = parse_address(arguments.values[0]), count = parse_count(arguments.values[1]);
  if (!address || !count || *count == 0) return std::nullopt;
  return Request{*address, *count};
}

constexpr AddressMessage kStart = {"[0_u64x.8] <[1_S]>:[|]", "[0_u64x.16] <[1_S]>:[|]"};
constexpr AddressMessage kInside = {"[0_u64x.8] <[1_S]+0x[2_u64x]>:[|]", "[0_u64x.16] <[1_S]+0x[2_u64x]>:[|]"};
constexpr AddressMessage kLine = {"[0_u64x.8]  [1_s-30][2_S][|]", "[0_u64x.16]  [1_s-30][2_S][|]"};

/// How many bytes there are from an address on, up to what an instruction can have.
uint32_t bytes_at(const MemoryMap &memory, uint64_t address) {
  uint32_t count = InstructionDecoder::kMostBytes;
  while (count > 0 && !memory.contains(address, count)) --count;
  return count;
}

class Listing {
 public:
  Listing(const Arguments &arguments, Machine machine, InstructionDecoder &decoder)
      : errors_(arguments.errors),
        memory_(arguments.program().memory()),
        decoder_(decoder),
        text_(arguments.program().symbols(), memory_, machine, errors_, arguments.allocator),
        name_(arguments.allocator),
        output_(arguments.out, errors_, arguments.allocator) {}

  Status print(Request request) {
    Status status;
    for (uint64_t i = 0; i < request.count && status.ok() && !output_.has_failed(); ++i) {
      output_.progress(i, request.count);
      const uint32_t available = bytes_at(memory_, request.address);
      if (available == 0) break;
      status = print_label(request.address, i == 0);
      uint32_t size = 0;
      if (status.ok()) status = print_instruction(request.address, available, &size);
      request.address += size;
      if (request.address < size) break;  // behind the last address of all
    }
    return status.ok() ? output_.finish() : status;
  }

 private:
  Status print_label(uint64_t address, bool is_first) {
    const SymbolPlace place = text_.place_of(address);
    if (place.symbol == nullptr || (!is_first && place.offset != 0)) return {};
    const KIV_UNICHAR *name = name_.decode(place.symbol->name);
    if (name == nullptr) return errors_.out_of_memory();
    const int digits = memory_.address_digits();
    const Status status = is_first ? Status{} : output_.line("[|]");
    if (!status.ok()) return status;
    if (place.offset == 0) return output_.line(kStart.of(digits), address, name);
    return output_.line(kInside.of(digits), address, name, place.offset);
  }

  Status print_instruction(uint64_t address, uint32_t available, uint32_t *size) {
    uint8_t bytes[InstructionDecoder::kMostBytes];
    memory_.read(address, available, bytes);
    Instruction instruction;
    const bool is_known = decoder_.decode(bytes, available, address, &instruction);
    *size = is_known ? instruction.size : std::min(decoder_.unit(), available);
    const Status status = is_known ? text_.compose(instruction) : text_.compose_bytes(bytes, *size);
    if (!status.ok()) return status;
    const KIV_UNICHAR *text = text_.render();
    if (text == nullptr) return errors_.out_of_memory();
    char hexadecimal[3 * InstructionDecoder::kMostBytes + 1];
    for (uint32_t i = 0; i < *size; ++i) std::snprintf(hexadecimal + 3 * size_t{i}, 4, "%02x ", bytes[i]);
    const char *const as_text = hexadecimal;
    return output_.line(kLine.of(memory_.address_digits()), address, as_text, text);
  }

  const Errors &errors_;
  const MemoryMap &memory_;
  InstructionDecoder &decoder_;
  InstructionText text_;
  NameText name_;
  Output output_;
};

Status disassemble(const Arguments &arguments, Request request) {
  const Errors &errors = arguments.errors;
  Status status = arguments.load({&Program::load_symbols, &Program::load_memory});
  if (!status.ok()) return status;
  const MemoryMap &memory = arguments.program().memory();
  Machine machine = memory.machine();
  // An odd address is that of Thumb code, as in symbols and pointers; all code of ARM on Windows is.
  if (machine == Machine::arm && request.address % 2 != 0) machine = Machine::thumb;
  if (machine == Machine::thumb) request.address &= ~uint64_t{1};
  if (!memory.contains(request.address, 1)) return errors.failure("this address is not in the program[|]");
  InstructionDecoder decoder(errors);
  status = decoder.open(machine, memory.order());
  return status.ok() ? Listing(arguments, machine, decoder).print(request) : status;
}

}  // namespace

Outcome run_disasm(Arguments arguments) {
  const auto request = arguments.take_path() ? parse(arguments) : std::nullopt;
  if (!request) return Outcome::wrong_usage;
  if (!InstructionDecoder::is_built_in()) {
    Output output(arguments.err, arguments.errors, arguments.allocator);
    (void)output.line("this kiv_inspect was built without a disassembler[|]");
    (void)output.finish();
    return Outcome::refused;
  }
  return finish(arguments, disassemble(arguments, *request), "\"[0_S]\" cannot be disassembled[|]");
}

}  // namespace kiv::inspect
