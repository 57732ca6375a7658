// Labels of the tree of types, objects of a kind of the tool's own: KIV_OBJ_TYPE shows how one is made.
#ifndef KIV_INSPECT_TYPE_LABEL_H
#define KIV_INSPECT_TYPE_LABEL_H

#include "examples/kiv_inspect/type_table.h"
#include "kiv_obj.h"

namespace kiv::inspect {

/// A label refers to what it names and makes its text when it is asked for one, so that a tree takes no memory for
/// texts that no drawing has room for.
struct TypeLabel {
  KIV_OBJ header;
  const TypeNode *first, *last;
  bool *failed;  // set when there is no memory for a text
};

/// A label; null without memory. What it refers to outlives it.
///
/// The text of one node is "namespace x", "struct x", "typedef x" and so on, "int" for a base type, "red = 1" for an
/// enumerator, or the keyword alone when there is no name; that of several "x..y" by the names of first and last. A
/// character that is not ASCII stands as "?": a drawing counts bytes, and names cannot play with the terminal.
KIV_OBJ *new_type_label(KIV_ALLOCATOR *allocator, const TypeNode &first, const TypeNode &last, bool *failed);

}  // namespace kiv::inspect

#endif
