// Names, which are bytes in a file or on the command line, as the library's strings.
#ifndef KIV_INSPECT_NAME_TEXT_H
#define KIV_INSPECT_NAME_TEXT_H

#include <string_view>

#include "kiv_allocator.h"
#include "kiv_types.h"

namespace kiv::inspect {

/// Room for one string at a time; it grows.
class NameText {
 public:
  explicit NameText(KIV_ALLOCATOR *allocator) : allocator_(allocator) {}
  ~NameText() { allocator_->free(allocator_, room_); }
  NameText(const NameText &) = delete;
  NameText &operator=(const NameText &) = delete;

  /// The name as a string, valid until the next call; null without memory. Well-formed UTF-8 is taken for that. In all
  /// other names each byte becomes the code point of the same number, so that nothing in them is lost.
  const KIV_UNICHAR *decode(std::string_view name);

 private:
  bool make_room(size_t bytes);

  KIV_ALLOCATOR *allocator_;
  void *room_ = nullptr;
  size_t size_ = 0;
};

}  // namespace kiv::inspect

#endif
