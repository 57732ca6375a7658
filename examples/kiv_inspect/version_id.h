// Version ids of the tool and of the protocol between servers and those who ask them (kiv_sccs.h).
//
// A release of the protocol is for those who speak the same one; a level adds to it, and a branch leaves it for
// something else.
#ifndef KIV_INSPECT_VERSION_ID_H
#define KIV_INSPECT_VERSION_ID_H

#include <cstdint>
#include <optional>
#include <string_view>

#include "kiv_sccs.h"

namespace kiv::inspect {

struct VersionId {
  uint32_t release = 0, level = 0, branch = 0, sequence = 0;
};

inline constexpr VersionId kProtocolVersion = {1, 0};

/// The version of this program.
VersionId tool_version();

/// As kiv_sccs_version_ids_compare(a, b).
int32_t compare(const VersionId &a, const VersionId &b);

/// Whether those who speak the one can talk with those who speak the other.
bool are_compatible(const VersionId &a, const VersionId &b);

/// How an id is written: two or four numbers of up to 16 bits.
struct VersionText {
  explicit VersionText(const VersionId &id) {
    (void)kiv_sccs_version_id_to_string(id.release, id.level, id.branch, id.sequence, text);
  }
  char text[KIV_SCCS_VERSION_ID_SIZE];
};
std::optional<VersionId> parse_version(std::string_view text);

}  // namespace kiv::inspect

#endif
