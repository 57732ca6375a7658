// Null as another spelling of the empty string.
#ifndef KIV_TEXT_EMPTY_STRING_H
#define KIV_TEXT_EMPTY_STRING_H

#include "kiv_types.h"

namespace kiv {

inline constexpr KIV_UNICHAR kEmptyString[] = {0};

inline const KIV_UNICHAR *or_empty(const KIV_UNICHAR *s) { return s != nullptr ? s : kEmptyString; }

}  // namespace kiv

#endif
