/* Finds the symbol that an address belongs to. */
#include <stdio.h>

#include "kiv_avl.h"

struct symbol {
  uint32_t address;
  const char *name;
};

static int by_address(const void *key, const void *value) {
  const struct symbol *a = key, *b = value;
  return (a->address > b->address) - (a->address < b->address);
}

int main(void) {
  struct symbol symbols[] = {{0x1200, "main"}, {0x1000, "_start"}, {0x1480, "exit"}};
  struct symbol wanted = {0x121f, NULL};
  KIV_AVL_TREE *tree = kiv_avl_new(by_address, NULL, NULL);
  for (int i = 0; i < 3; ++i) kiv_avl_insert(tree, &symbols[i]);
  struct symbol *found = kiv_avl_find_largest_less_or_equal(tree, &wanted);
  printf("%s+0x%x\n", found->name, (unsigned)(wanted.address - found->address));
  return kiv_avl_destroy_tree(tree);
}
