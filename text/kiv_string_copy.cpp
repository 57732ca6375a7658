// Copying into room that the caller provides.

#include "kiv_string.h"
#include "text/text_source.h"

namespace kiv {
namespace {

template <class Source>
void copy(KIV_STRING destination, Source source) {
  const size_t length = source.length();
  copy_units(destination, source, length);
  destination[length] = 0;
}

/// At most n - 1 units; the source need not end within n.
template <class Source>
KIV_STRING copy_bounded(KIV_STRING destination, Source source, uint32_t n) {
  if (n == 0) return destination;
  size_t i = 0;
  if (source.text != nullptr) {
    for (; i < n - 1 && source[i] != 0; ++i) destination[i] = source[i];
  }
  destination[i] = 0;
  return destination;
}

}  // namespace
}  // namespace kiv

using kiv::SignExtended;
using kiv::Units;

void kiv_string_strcpy(KIV_STRING destination, const KIV_UNICHAR *src) { kiv::copy(destination, Units{src}); }

void kiv_string_strcat(KIV_STRING destination, const KIV_UNICHAR *src) {
  kiv::copy(destination + Units{destination}.length(), Units{src});
}

KIV_STRING kiv_string_strncpy(KIV_STRING destination, const KIV_UNICHAR *src, uint32_t n) {
  return kiv::copy_bounded(destination, Units{src}, n);
}

KIV_STRING kiv_string_strcpy_char_s(KIV_STRING destination, const char *src) {
  kiv::copy(destination, SignExtended{src});
  return destination;
}

KIV_STRING kiv_string_strncpy_char_s(KIV_STRING destination, const char *src, uint32_t n) {
  return kiv::copy_bounded(destination, SignExtended{src}, n);
}

void kiv_string_strcat_char_s(KIV_STRING destination, const char *src) {
  kiv::copy(destination + Units{destination}.length(), SignExtended{src});
}
