// An AVL tree in its textbook form: recursive, without any short cut, calling its linkage hook at every step. The
// oracle for the library's loops.
#ifndef KIV_TESTS_CONTAINERS_NAIVE_AVL_H
#define KIV_TESTS_CONTAINERS_NAIVE_AVL_H

#include <algorithm>
#include <array>
#include <memory>
#include <vector>

namespace kiv::test {

class NaiveAvl {
 public:
  struct Node {
    std::unique_ptr<Node> child[2];  // left and right
    int height = 1;
    int value = 0;
  };
  using Link = std::unique_ptr<Node>;

  Link root;
  /// The hook's calls: value, left value, right value; -1 for an absent child.
  std::vector<std::array<int, 3>> hooks;
  std::vector<int> released;

  void insert(int value) { root = insert(std::move(root), value); }
  void erase(int value, bool release) {
    const Node *node = root.get();
    while (node != nullptr && node->value != value) node = node->child[value > node->value].get();
    if (node != nullptr) root = erase(std::move(root), value, release);
  }

 private:
  static int height(const Link &node) { return node ? node->height : 0; }
  static void measure(const Link &node) { node->height = std::max(height(node->child[0]), height(node->child[1])) + 1; }

  void hook(const Link &node) {
    const auto value_of = [](const Link &child) { return child ? child->value : -1; };
    hooks.push_back({node->value, value_of(node->child[0]), value_of(node->child[1])});
  }

  /// The node goes down on that side.
  Link rotate(Link node, int side) {
    Link top = std::move(node->child[1 - side]);
    node->child[1 - side] = std::move(top->child[side]);
    measure(node);
    top->child[side] = std::move(node);
    measure(top);
    hook(top->child[side]);
    hook(top);
    return top;
  }

  Link insert(Link node, int value) {
    if (!node) {
      node = std::make_unique<Node>();
      node->value = value;
      hook(node);
      return node;
    }
    if (value == node->value) return node;
    const int side = value > node->value;
    Link &child = node->child[side];
    child = insert(std::move(child), value);
    measure(node);
    hook(node);
    if (height(child) <= height(node->child[1 - side]) + 1) return node;
    if (height(child->child[side]) <= height(child->child[1 - side])) child = rotate(std::move(child), side);
    return rotate(std::move(node), 1 - side);
  }

  /// The side has become shorter.
  Link after_erase(Link node, int side) {
    measure(node);
    hook(node);
    Link &other = node->child[1 - side];
    if (height(other) <= height(node->child[side]) + 1) return node;
    if (height(other->child[1 - side]) < height(other->child[side])) other = rotate(std::move(other), 1 - side);
    return rotate(std::move(node), side);
  }

  Link erase(Link node, int value, bool release) {
    if (value != node->value) {
      const int side = value > node->value;
      node->child[side] = erase(std::move(node->child[side]), value, release);
      return after_erase(std::move(node), side);
    }
    if (release) released.push_back(node->value);
    if (!node->child[0] || !node->child[1]) {
      Link child = std::move(node->child[node->child[0] ? 0 : 1]);
      if (child) hook(child);
      return child;
    }
    const Node *least = node->child[1].get();
    while (least->child[0]) least = least->child[0].get();
    node->value = least->value;
    node->child[1] = erase(std::move(node->child[1]), node->value, false);
    return after_erase(std::move(node), 1);
  }
};

}  // namespace kiv::test

#endif
