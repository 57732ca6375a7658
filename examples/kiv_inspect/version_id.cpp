#include "examples/kiv_inspect/version_id.h"

#include "examples/kiv_inspect/number_arguments.h"

namespace kiv::inspect {

VersionId tool_version() { return parse_version(KIV_INSPECT_VERSION_ID).value_or(VersionId()); }

int32_t compare(const VersionId &a, const VersionId &b) {
  return kiv_sccs_version_ids_compare(a.release, a.level, a.branch, a.sequence, b.release, b.level, b.branch,
                                      b.sequence);
}

bool are_compatible(const VersionId &a, const VersionId &b) {
  return a.release == b.release && compare(a, b) != KIV_SCCS_UNRELATED;
}

std::optional<VersionId> parse_version(std::string_view text) {
  uint32_t numbers[4] = {};
  size_t count = 0;
  for (bool more = true; more; ++count) {
    const size_t dot = text.find('.');
    const auto number = parse_decimal(text.substr(0, dot));
    if (count == 4 || !number || *number > UINT16_MAX) return std::nullopt;
    numbers[count] = static_cast<uint32_t>(*number);
    more = dot != std::string_view::npos;
    if (more) text.remove_prefix(dot + 1);
  }
  if (count != 2 && count != 4) return std::nullopt;
  return VersionId{numbers[0], numbers[1], numbers[2], numbers[3]};
}

}  // namespace kiv::inspect
