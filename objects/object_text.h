// The texts of containers of objects.
#ifndef KIV_OBJECTS_OBJECT_TEXT_H
#define KIV_OBJECTS_OBJECT_TEXT_H

#include "kiv_obj.h"

namespace kiv::object {

/// A container's text: those of its elements one behind the other, a tuple's in parentheses. From the container's
/// allocator; null when there is no memory, when an element has no text, or when it needs 4 GiB.
char *container_text(const KIV_OBJ *container);

}  // namespace kiv::object

#endif
