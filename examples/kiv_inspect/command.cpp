#include "examples/kiv_inspect/command.h"

#include <algorithm>

#include "examples/kiv_inspect/name_text.h"
#include "examples/kiv_inspect/number_arguments.h"
#include "examples/kiv_inspect/output.h"

namespace kiv::inspect {
namespace {

void take_out(Arguments *arguments, int place) {
  --arguments->count;
  std::copy_n(arguments->values + place + 1, arguments->count - place, arguments->values + place);
}

}  // namespace

int Arguments::take_option(std::string_view name) {
  for (int place = 0; place < count; ++place) {
    if (values[place] != name) continue;
    take_out(this, place);
    return place;
  }
  return -1;
}

std::optional<uint64_t> Arguments::take_count(int place) {
  const auto number = place < count ? parse_count(values[place]) : std::nullopt;
  if (number) take_out(this, place);
  return number;
}

bool Arguments::take_number(std::string_view name, uint32_t most, uint32_t *number) {
  const int place = take_option(name);
  if (place < 0) return true;
  const uint64_t taken = take_count(place).value_or(0);
  if (taken < 1 || taken > most) return false;
  *number = static_cast<uint32_t>(taken);
  return true;
}

const char *Arguments::take_value(int place) {
  if (place >= count) return nullptr;
  const char *value = values[place];
  take_out(this, place);
  return value;
}

bool Arguments::take_path() {
  if (path != nullptr) return true;
  if (count < 1) return false;
  path = values[0];
  take_out(this, 0);
  return true;
}

Outcome finish(const Arguments &arguments, Status status, const Message &message) {
  if (status.ok()) return Outcome::done;
  NameText text(arguments.allocator);
  const KIV_UNICHAR *name = text.decode(arguments.path);
  (void)arguments.out.flush();
  print_error(name != nullptr ? arguments.errors.add(status, message, name) : arguments.errors.out_of_memory(),
              arguments.err);
  return Outcome::failed;
}

}  // namespace kiv::inspect
