// Wildcards over names: * stands for any characters, also none, ? for exactly one.
#ifndef KIV_INSPECT_WILDCARD_H
#define KIV_INSPECT_WILDCARD_H

#include <string_view>

namespace kiv::inspect {

/// Whether the pattern matches all of the text. Time O(pattern * text) at worst.
bool matches_wildcard(std::string_view pattern, std::string_view text);

}  // namespace kiv::inspect

#endif
