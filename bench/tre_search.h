// TRE behind functions of our own: its header and the C library's <regex.h> define the same types.
#ifndef KIV_BENCH_TRE_SEARCH_H
#define KIV_BENCH_TRE_SEARCH_H

#include <string>

namespace kiv::bench {

class TreSearch {
 public:
  explicit TreSearch(const std::wstring &pattern);
  TreSearch(const TreSearch &) = delete;
  ~TreSearch();
  /// The first index at which the pattern matches, or -1.
  long find(const std::wstring &text) const;

 private:
  void *compiled_;
};

}  // namespace kiv::bench

#endif
