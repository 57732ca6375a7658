#include "examples/kiv_inspect/type_label.h"

#include <new>

#include "examples/kiv_inspect/message_words.h"
#include "examples/kiv_inspect/name_text.h"
#include "examples/kiv_inspect/value_object.h"
#include "kiv_i18n.h"
#include "kiv_string.h"
#include "kiv_string_convert.h"

namespace kiv::inspect {
namespace {

/// Empty for what is shown by its name alone.
constexpr const char *kKeywords[] = {"",          "namespace", "module",  "class", "struct", "union",
                                     "interface", "enum",      "typedef", "",      ""};  // by TypeKind

const char *keyword_of(const TypeNode &node) { return kKeywords[static_cast<int>(node.kind)]; }

/// A message in ASCII; null without memory.
template <class... Values>
char *format(KIV_ALLOCATOR *allocator, const char *message, const Values &...values) {
  const MessageWords arguments(values...);
  const void *const *words = arguments.words();
  const KIV_STRING string = kiv_i18n_prna8(nullptr, allocator, message, words[0], words[1], words[2], words[3],
                                           words[4], words[5], words[6], words[7]);
  if (string == nullptr) return nullptr;
  char *text = kiv_string_convert_utf32_to_char_a(allocator, string);
  kiv_string_delete(allocator, string);
  return text;
}

/// What stands for a node at either end of several.
std::string_view short_name(const TypeNode &node) { return node.name.empty() ? keyword_of(node) : node.name; }

char *format_label(KIV_ALLOCATOR *allocator, const TypeNode &first, const TypeNode &last) {
  NameText first_text(allocator), last_text(allocator);
  const KIV_UNICHAR *name = first_text.decode(short_name(first));
  if (name == nullptr) return nullptr;
  if (&first != &last) {
    const KIV_UNICHAR *last_name = last_text.decode(short_name(last));
    return last_name != nullptr ? format(allocator, "[0_S]..[1_S][|]", name, last_name) : nullptr;
  }
  if (first.kind == TypeKind::enumerator) {
    char number[kFloatTextSize];
    format_number(first.value, number);
    return format(allocator, *number != '\0' ? "[0_S] = [1_s][|]" : "[0_S][|]", name, number);
  }
  const char *keyword = keyword_of(first);
  const bool has_both = *keyword != '\0' && !first.name.empty();
  return format(allocator, has_both ? "[1_s] [0_S][|]" : "[0_S][|]", name, keyword);
}

char *to_text(const KIV_OBJ *object) {
  const auto *label = reinterpret_cast<const TypeLabel *>(object);
  char *text = format_label(object->allocator, *label->first, *label->last);
  if (text == nullptr) *label->failed = true;
  return text;
}

constexpr KIV_OBJ_TYPE kType = {kTypeLabelKind,   sizeof(TypeLabel), to_text,        obj_to_number_default,
                                obj_copy_default, obj_cmp_default,   obj_del_default};

}  // namespace

KIV_OBJ *new_type_label(KIV_ALLOCATOR *allocator, const TypeNode &first, const TypeNode &last, bool *failed) {
  void *block = allocator->alloc(allocator, sizeof(TypeLabel));
  if (block == nullptr) return nullptr;
  return &(new (block) TypeLabel{{&kType, allocator, 0, 0}, &first, &last, failed})->header;
}

}  // namespace kiv::inspect
