// kiv_inspect symbols [--regex] [--by-name | --by-size [N]] PROGRAM [PATTERN]: a line "ADDRESS KIND NAME" for each
// symbol, in the order of the addresses or of the names. At one address functions come before objects before others,
// and of each global symbols before weak and local ones. By size, the largest (or the N largest) come first, with their
// sizes: "ADDRESS SIZE KIND NAME". A program without symbols, or without any that the pattern matches, gives no lines.

#include <optional>

#include "examples/kiv_inspect/command.h"
#include "examples/kiv_inspect/hex_text.h"
#include "examples/kiv_inspect/name_pattern.h"
#include "examples/kiv_inspect/output.h"
#include "examples/kiv_inspect/symbol_order.h"

namespace kiv::inspect {
namespace {

enum class Order { address, name, size };

struct Options {
  Order order = Order::address;
  uint64_t most = UINT64_MAX;  // symbols, by size
  bool is_regex = false;
  const char *pattern = nullptr;  // null: all symbols
};

std::optional<Options> parse(Arguments &arguments) {
  Options options;
  const int by_size = arguments.take_option("--by-size");
  if (by_size >= 0) {
    options.order = Order::size;
    options.most = arguments.take_count(by_size).value_or(options.most);
  }
  if (arguments.take_option("--by-name") >= 0) {
    if (options.order != Order::address) return std::nullopt;
    options.order = Order::name;
  }
  options.is_regex = arguments.take_option("--regex") >= 0;
  if (!arguments.take_path() || arguments.count < (options.is_regex ? 1 : 0) || arguments.count > 1)
    return std::nullopt;
  if (options.most == 0) return std::nullopt;
  if (arguments.count > 0) options.pattern = arguments.values[0];
  return options;
}

constexpr AddressMessage kLine = {"[0_u64x.8] [1_c] [2_S][|]", "[0_u64x.16] [1_c] [2_S][|]"};
constexpr AddressMessage kSizeLine = {"[0_u64x.8] [3_u64d8] [1_c] [2_S][|]", "[0_u64x.16] [3_u64d8] [1_c] [2_S][|]"};

/// Prints the symbols that are chosen, at once or, in another order than the table's, when it has them all.
class Listing {
 public:
  Listing(const Arguments &arguments, const Options &options)
      : errors_(arguments.errors),
        order_(options.order),
        pattern_(arguments.allocator),
        name_(arguments.allocator),
        chosen_(arguments.allocator, by_name_and_address),
        largest_(arguments.allocator, options.most),
        output_(arguments.out, arguments.errors, arguments.allocator) {
    if (!pattern_.set(options.pattern, options.is_regex)) status_ = errors_.out_of_memory();
  }

  Status print(const SymbolTable &symbols) {
    digits_ = symbols.address_digits;
    line_ = (order_ == Order::size ? kSizeLine : kLine).of(symbols.address_digits);
    all_ = symbols.count();
    if (status_.ok()) symbols.walk(take, this);
    if (order_ == Order::name) chosen_.sort();
    if (status_.ok() && !largest_.move_to(&chosen_)) status_ = errors_.out_of_memory();
    const uint32_t count = chosen_.count();
    for (uint32_t i = 0; i < count && goes_on(); ++i) {
      output_.progress(i, count);
      const Symbol &symbol = chosen_[order_ == Order::size ? count - 1 - i : i];
      const KIV_UNICHAR *name = name_.decode(symbol.name);
      status_ = name != nullptr ? print(symbol, name) : errors_.out_of_memory();
    }
    return status_.ok() ? output_.finish() : status_;
  }

 private:
  /// Until standard output or memory fails.
  bool goes_on() const { return status_.ok() && !output_.has_failed(); }

  /// The size is no one's to look at before the extents are loaded.
  Status print(const Symbol &symbol, const KIV_UNICHAR *name) {
    const uint64_t size = order_ == Order::size ? symbol.size : 0;
    return output_.line(line_, symbol.address, letter_of(symbol.kind), name, size);
  }

  /// What kLine prints.
  bool print_plain(const Symbol &symbol) {
    const char kind[] = {' ', letter_of(symbol.kind), ' '};
    return output_.plain_line({HexText(symbol.address, digits_).text(), {kind, sizeof kind}, symbol.name});
  }

  static int take(void *value, void *context) {
    const auto &symbol = *static_cast<const Symbol *>(value);
    auto &listing = *static_cast<Listing *>(context);
    if (listing.order_ == Order::address) {
      listing.output_.progress(listing.seen_++, listing.all_);
      if (listing.pattern_.chooses_all() && listing.print_plain(symbol)) return listing.goes_on();
    }
    const KIV_UNICHAR *name = listing.name_.decode(symbol.name);
    if (name == nullptr) {
      listing.status_ = listing.errors_.out_of_memory();
    } else if (listing.pattern_.chooses(name)) {
      listing.status_ = listing.take_chosen(symbol, name);
    }
    return listing.goes_on();
  }

  Status take_chosen(const Symbol &symbol, const KIV_UNICHAR *name) {
    if (order_ == Order::address) return print(symbol, name);
    const bool taken = order_ == Order::name ? chosen_.append(symbol) : largest_.add(symbol);
    return taken ? Status{} : errors_.out_of_memory();
  }

  const Errors &errors_;
  Order order_;
  NamePattern pattern_;
  NameText name_;
  SymbolVector chosen_;
  LargestSymbols largest_;
  Output output_;
  const char *line_ = nullptr;
  int digits_ = 0;
  uint32_t seen_ = 0, all_ = 0;  // symbols
  Status status_;
};

Status list(const Arguments &arguments, const Options &options) {
  Status status = arguments.load({&Program::load_symbols});
  if (status.ok() && options.order == Order::size) status = arguments.load({&Program::load_extents});
  return status.ok() ? Listing(arguments, options).print(arguments.program().symbols()) : status;
}

}  // namespace

Outcome run_symbols(Arguments arguments) {
  const auto options = parse(arguments);
  if (!options) return Outcome::wrong_usage;
  return finish(arguments, list(arguments, *options), "the symbols of \"[0_S]\" cannot be listed[|]");
}

}  // namespace kiv::inspect
