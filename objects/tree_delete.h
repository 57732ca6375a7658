// The deletion of a tree.
#ifndef KIV_OBJECTS_TREE_DELETE_H
#define KIV_OBJECTS_TREE_DELETE_H

#include "kiv_obj.h"

namespace kiv::tree {

/// The del of the kind, for an object that is a node.
void delete_tree(KIV_OBJ *object);

}  // namespace kiv::tree

#endif
