// kiv_inspect resolve [--space NAME:NUMBER:BITS]... PROGRAM [SPACE:]HEX|NAME...: for each address a line "ADDRESS
// NAME+0xOFFSET", with the nearest symbol at or below it; "ADDRESS NAME" where it starts, "ADDRESS no symbol" below all
// symbols. How large a symbol is does not count: many have no size. Addresses are those of bytes; behind one, and
// behind the offset, stands ".BIT" when it is not its byte's first bit that was asked for. For each name a line
// "ADDRESS NAME" for every symbol that has it, or "NAME no symbol". Without addresses and names, the lines of standard
// input are these.

#include "examples/kiv_inspect/command.h"
#include "examples/kiv_inspect/hex_text.h"
#include "examples/kiv_inspect/line_input.h"
#include "examples/kiv_inspect/memory_pool.h"
#include "examples/kiv_inspect/name_lookup.h"
#include "examples/kiv_inspect/name_text.h"
#include "examples/kiv_inspect/output.h"
#include "examples/kiv_inspect/pointer_vector.h"
#include "examples/kiv_inspect/pool.h"
#include "examples/kiv_inspect/target_spaces.h"

namespace kiv::inspect {
namespace {

constexpr AddressMessage kNone = {"[0_u64x.8] no symbol[|]", "[0_u64x.16] no symbol[|]"};
constexpr AddressMessage kStart = {"[0_u64x.8] [1_S][|]", "[0_u64x.16] [1_S][|]"};
constexpr AddressMessage kInside = {"[0_u64x.8] [1_S]+0x[2_u64x][|]", "[0_u64x.16] [1_S]+0x[2_u64x][|]"};
constexpr AddressMessage kNoneAtBit = {"[0_u64x.8].[1_u32] no symbol[|]", "[0_u64x.16].[1_u32] no symbol[|]"};
constexpr AddressMessage kInsideAtBit = {"[0_u64x.8].[3_u32] [1_S]+0x[2_u64x].[3_u32][|]",
                                         "[0_u64x.16].[3_u32] [1_S]+0x[2_u64x].[3_u32][|]"};

/// What is asked for.
struct Query {
  const char *name;       // null: an address
  TargetAddress address;  // when it is one
};

/// Queries that are answered together, in their order: all their names are found in one go.
class Batch {
 public:
  Batch(const Arguments &arguments, const TargetSpaces &spaces)
      : arguments_(arguments),
        spaces_(spaces),
        memory_(arguments.allocator),
        lookup_(arguments.errors, memory_.pool()),
        queries_(arguments.allocator),
        text_(arguments.allocator) {}

  /// Whether there was memory for this; the rest REQUIRES it.
  bool ok() const { return memory_.ok(); }

  /// Adds what a text asks for. REQUIRES: the text stays.
  Status add(const char *text, TargetSpaces::Reading *reading) {
    Query query = {spaces_.is_name(text) ? text : nullptr, {}};
    *reading = TargetSpaces::Reading::done;
    if (query.name == nullptr) {
      *reading = spaces_.read(text, &query.address);
      if (*reading != TargetSpaces::Reading::done) return fail(*reading, text);
    } else {
      const KIV_UNICHAR *name = text_.decode(text);
      const Status status = name != nullptr ? lookup_.want(name) : out_of_memory();
      if (!status.ok()) return status;
      has_names_ = true;
    }
    const Query *placed = place(memory_.pool(), query);
    return placed != nullptr && queries_.append(*placed) ? Status{} : out_of_memory();
  }

  /// REQUIRES: the symbols are loaded.
  Status print(Output &output) {
    const SymbolTable &symbols = arguments_.program().symbols();
    Status status = has_names_ ? lookup_.search(symbols) : Status{};
    for (uint32_t i = 0; i < queries_.count() && status.ok() && !output.has_failed(); ++i) {
      output.progress(i, queries_.count());
      const Query &query = queries_[i];
      status = query.name != nullptr ? print_named(query.name, output) : print_nearest(query.address, output);
    }
    return status;
  }

 private:
  Status out_of_memory() const { return arguments_.errors.out_of_memory(); }

  Status fail(TargetSpaces::Reading reading, const char *text) {
    const KIV_UNICHAR *shown = text_.decode(text);
    return shown != nullptr ? spaces_.failure(reading, shown) : out_of_memory();
  }

  /// In a space of sections, the symbols of the section around the address count; without one, none does.
  Status find(const TargetAddress &address, const Symbol **symbol) {
    const Program &program = arguments_.program();
    *symbol = program.symbols().nearest(address.byte);
    if (*symbol == nullptr || !TargetSpaces::has_sections(*address.space)) return {};
    if (!has_sections_) {
      const Status status = arguments_.load({&Program::load_sections});
      if (!status.ok()) return status;
      has_sections_ = true;
    }
    const Section *section = program.sections().around(address.byte);
    const bool is_there = section != nullptr && TargetSpaces::has_section(*address.space, *section) &&
                          (*symbol)->address >= section->addresses.first;
    if (!is_there) *symbol = nullptr;
    return {};
  }

  /// What kStart and kInside print.
  static bool print_plain(uint64_t byte, int digits, std::string_view name, uint64_t offset, Output &output) {
    const HexText address(byte, digits);
    if (offset == 0) return output.plain_line({address.text(), " ", name});
    return output.plain_line({address.text(), " ", name, "+0x", HexText(offset).text()});
  }

  Status print_nearest(const TargetAddress &address, Output &output) {
    const int digits = arguments_.program().symbols().address_digits;
    const Symbol *symbol = nullptr;
    const Status status = find(address, &symbol);
    if (!status.ok()) return status;
    const auto [space, byte, bit] = address;
    if (symbol == nullptr) {
      return bit == 0 ? output.line(kNone.of(digits), byte) : output.line(kNoneAtBit.of(digits), byte, bit);
    }
    const uint64_t offset = byte - symbol->address;
    if (bit == 0 && print_plain(byte, digits, symbol->name, offset, output)) return {};
    const KIV_UNICHAR *name = text_.decode(symbol->name);
    if (name == nullptr) return out_of_memory();
    if (bit != 0) return output.line(kInsideAtBit.of(digits), byte, name, offset, bit);
    if (offset != 0) return output.line(kInside.of(digits), byte, name, offset);
    return output.line(kStart.of(digits), byte, name);
  }

  Status print_named(const char *asked, Output &output) {
    const KIV_UNICHAR *name = text_.decode(asked);
    if (name == nullptr) return out_of_memory();
    const char *line = kStart.of(arguments_.program().symbols().address_digits);
    const NameLookup::Match *match = lookup_.matches(name);
    if (match == nullptr) return output.line("[0_S] no symbol[|]", name);
    Status status;
    for (; match != nullptr && status.ok(); match = match->next) {
      status = output.line(line, match->symbol->address, name);
    }
    return status;
  }

  const Arguments &arguments_;
  const TargetSpaces &spaces_;
  MemoryPool memory_;
  NameLookup lookup_;
  PointerVector<Query> queries_;
  NameText text_;
  bool has_names_ = false;
  bool has_sections_ = false;
};

Status resolve_batch(const Arguments &arguments, Batch &batch) {
  Status status = arguments.load({&Program::load_symbols});
  if (!status.ok()) return status;
  Output output(arguments.out, arguments.errors, arguments.allocator);
  status = batch.print(output);
  return status.ok() ? output.finish() : status;
}

/// The lines that are there by now; empty ones ask for nothing. What stands before one that makes no sense is printed.
Status resolve_lines(const Arguments &arguments, const TargetSpaces &spaces, LineInput &input, Output &output) {
  Batch batch(arguments, spaces);
  if (!batch.ok()) return arguments.errors.out_of_memory();
  Status failure;
  while (char *line = failure.ok() ? input.next() : nullptr) {
    if (*line == '\0') continue;
    TargetSpaces::Reading reading;
    failure = arguments.errors.add(batch.add(line, &reading), "line [0_u64] of standard input cannot be resolved[|]",
                                   input.number());
  }
  const Status status = batch.print(output);
  return status.ok() ? failure : status;
}

/// Every answer is written before more of the input is waited for: another program may ask line by line.
Status resolve_input(const Arguments &arguments, const TargetSpaces &spaces) {
  Status status = arguments.load({&Program::load_symbols});
  LineInput input(arguments.errors, arguments.allocator);
  Output output(arguments.out, arguments.errors, arguments.allocator);
  while (status.ok()) {
    bool any = false;
    status = input.fill(&any);
    if (!status.ok() || !any) break;
    status = resolve_lines(arguments, spaces, input, output);
    if (status.ok()) status = output.finish();
  }
  return status;
}

}  // namespace

Outcome run_resolve(Arguments arguments) {
  const Message message = "addresses in \"[0_S]\" cannot be resolved[|]";
  const bool is_served = arguments.path != nullptr;
  TargetSpaces spaces(arguments.errors, arguments.allocator);
  Batch batch(arguments, spaces);
  Status status = batch.ok() ? spaces.open() : arguments.errors.out_of_memory();
  if (status.ok() && !spaces.take_options(&arguments)) return Outcome::wrong_usage;
  if (!arguments.take_path()) return Outcome::wrong_usage;
  if (arguments.count == 0) {
    if (is_served) return Outcome::wrong_usage;
    return finish(arguments, status.ok() ? resolve_input(arguments, spaces) : status, message);
  }
  for (int i = 0; i < arguments.count && status.ok(); ++i) {
    TargetSpaces::Reading reading;
    status = batch.add(arguments.values[i], &reading);
    if (reading == TargetSpaces::Reading::malformed) return Outcome::wrong_usage;
  }
  return finish(arguments, status.ok() ? resolve_batch(arguments, batch) : status, message);
}

}  // namespace kiv::inspect
