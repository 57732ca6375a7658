#include "tre_search.h"

#include <tre/tre.h>

namespace kiv::bench {

TreSearch::TreSearch(const std::wstring &pattern) : compiled_(new regex_t) {
  tre_regwcomp(static_cast<regex_t *>(compiled_), pattern.c_str(), REG_EXTENDED);
}

TreSearch::~TreSearch() {
  auto *compiled = static_cast<regex_t *>(compiled_);
  tre_regfree(compiled);
  delete compiled;
}

long TreSearch::find(const std::wstring &text) const {
  regmatch_t found[1];
  const int status = tre_regwexec(static_cast<regex_t *>(compiled_), text.c_str(), 1, found, 0);
  return status == 0 ? found[0].rm_so : -1;
}

}  // namespace kiv::bench
