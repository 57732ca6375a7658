#include "kiv_uni.h"

#include <cctype>

namespace {

/// The C runtime's answer for a byte, as 1 or 0; `above` for what is no byte.
int classify(KIV_UNICHAR c, int (*is_in_class)(int), int above) {
  if (c > 255) return above;
  return is_in_class(static_cast<int>(c)) != 0 ? 1 : 0;
}

KIV_UNICHAR map(KIV_UNICHAR c, int (*to_case)(int)) {
  return c > 255 ? c : static_cast<KIV_UNICHAR>(to_case(static_cast<int>(c)));
}

}  // namespace

int kiv_uni_isalnum(KIV_UNICHAR c) { return classify(c, std::isalnum, 0); }
int kiv_uni_isalpha(KIV_UNICHAR c) { return classify(c, std::isalpha, 0); }
int kiv_uni_iscntrl(KIV_UNICHAR c) { return classify(c, std::iscntrl, 0); }
int kiv_uni_isdigit(KIV_UNICHAR c) { return classify(c, std::isdigit, 0); }
int kiv_uni_isxdigit(KIV_UNICHAR c) { return classify(c, std::isxdigit, 0); }
int kiv_uni_isgraph(KIV_UNICHAR c) { return classify(c, std::isgraph, 1); }
int kiv_uni_ispunct(KIV_UNICHAR c) { return classify(c, std::ispunct, 0); }
int kiv_uni_isprint(KIV_UNICHAR c) { return classify(c, std::isprint, 1); }
int kiv_uni_islower(KIV_UNICHAR c) { return classify(c, std::islower, 0); }
int kiv_uni_isupper(KIV_UNICHAR c) { return classify(c, std::isupper, 0); }
int kiv_uni_isspace(KIV_UNICHAR c) { return classify(c, std::isspace, 0); }

KIV_UNICHAR kiv_uni_tolower(KIV_UNICHAR c) { return map(c, std::tolower); }
KIV_UNICHAR kiv_uni_toupper(KIV_UNICHAR c) { return map(c, std::toupper); }
