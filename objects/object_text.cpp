// The texts of containers of objects: those of the elements one behind the other, a tuple's in parentheses. Containers
// within containers write into the text of the outermost: each byte is written once, however deep it stands, and copied
// only when the block grows, by doubling.

#include <algorithm>
#include <cstring>

#include "objects/object_hashtable.h"
#include "objects/object_tuple.h"
#include "objects/object_vector.h"

namespace kiv::object {
namespace {

class Text {
 public:
  explicit Text(KIV_ALLOCATOR *allocator) : allocator_(allocator) {}

  bool append(const char *bytes, size_t count) {
    if (count >= capacity_ - length_ && !grow(uint64_t{length_} + count + 1)) return false;
    std::memcpy(text_ + length_, bytes, count);
    length_ += static_cast<uint32_t>(count);
    return true;
  }

  /// The terminated text, in a block that has just its size where the allocator can make it so.
  char *finish() {
    if (text_ == nullptr && !grow(1)) return nullptr;
    text_[length_] = 0;
    void *shrunk = allocator_->realloc(allocator_, text_, length_ + 1);
    return shrunk != nullptr ? static_cast<char *>(shrunk) : text_;
  }

  void drop() { allocator_->free(allocator_, text_); }

 private:
  bool grow(uint64_t least) {
    if (least > UINT32_MAX) return false;
    const auto capacity =
        static_cast<uint32_t>(std::clamp<uint64_t>(uint64_t{capacity_} * 2, std::max<uint64_t>(least, 64), UINT32_MAX));
    void *text = allocator_->realloc(allocator_, text_, capacity);
    if (text == nullptr) return false;
    text_ = static_cast<char *>(text);
    capacity_ = capacity;
    return true;
  }

  KIV_ALLOCATOR *allocator_;
  char *text_ = nullptr;
  uint32_t length_ = 0, capacity_ = 0;  // length < capacity once there is a block
};

bool append_object(Text *text, const KIV_OBJ *object);

bool append_elements(Text *text, const KIV_OBJ_VECTOR *vector) {
  for (int32_t i = 0; i < vector->count; ++i) {
    if (vector->elements[i] != nullptr && !append_object(text, vector->elements[i])) return false;
  }
  return true;
}

bool append_other(Text *text, const KIV_OBJ *object) {
  char *own = object->type->to_char_s(object);
  if (own == nullptr) return false;
  const bool done = text->append(own, std::strlen(own));
  // A kind may make its texts elsewhere: without an allocator they are not ours to free.
  if (object->allocator != nullptr) object->allocator->free(object->allocator, own);
  return done;
}

bool append_vector(Text *text, const KIV_OBJ *object) { return append_elements(text, as_vector(object)); }
bool append_table(Text *text, const KIV_OBJ *object) { return append_elements(text, as_hashtable(object)->buckets); }
bool append_tuple(Text *text, const KIV_OBJ *object) {
  return text->append("(", 1) && append_elements(text, as_tuple(object)->elements) && text->append(")", 1);
}

/// Containers are known by the operation: a program's own kind may have taken it over.
bool append_object(Text *text, const KIV_OBJ *object) {
  const auto operation = object->type->to_char_s;
  if (operation == obj_vector_to_char_s) return append_vector(text, object);
  if (operation == obj_hashtable_to_char_s) return append_table(text, object);
  if (operation == tuple_text) return append_tuple(text, object);
  return append_other(text, object);
}

char *make_text(const KIV_OBJ *container, bool (*append)(Text *, const KIV_OBJ *)) {
  Text text(container->allocator);
  char *result = append(&text, container) ? text.finish() : nullptr;
  if (result == nullptr) text.drop();
  return result;
}

}  // namespace

char *tuple_text(const KIV_OBJ *tuple) { return make_text(tuple, append_tuple); }

}  // namespace kiv::object

namespace object = kiv::object;

char *obj_vector_to_char_s(const KIV_OBJ *vector) { return object::make_text(vector, object::append_vector); }

char *obj_hashtable_to_char_s(const KIV_OBJ *table) { return object::make_text(table, object::append_table); }
