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
    std::unique_ptr<Node> left, right;
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
    if (contains(root.get(), value)) root = erase(std::move(root), value, release);
  }

 private:
  static int height(const Link &node) { return node ? node->height : 0; }
  static void measure(const Link &node) { node->height = std::max(height(node->left), height(node->right)) + 1; }
  static bool contains(const Node *node, int value) {
    return node != nullptr &&
           (node->value == value || contains((value < node->value ? node->left : node->right).get(), value));
  }

  void hook(const Link &node) {
    hooks.push_back({node->value, node->left ? node->left->value : -1, node->right ? node->right->value : -1});
  }

  Link rotate_right(Link node) {
    Link top = std::move(node->left);
    node->left = std::move(top->right);
    return finish_rotation(std::move(node), std::move(top), &Node::right);
  }

  Link rotate_left(Link node) {
    Link top = std::move(node->right);
    node->right = std::move(top->left);
    return finish_rotation(std::move(node), std::move(top), &Node::left);
  }

  Link finish_rotation(Link node, Link top, Link Node::*side) {
    measure(node);
    top.get()->*side = std::move(node);
    measure(top);
    hook(top.get()->*side);
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
    if (value < node->value) {
      node->left = insert(std::move(node->left), value);
      measure(node);
      hook(node);
      if (height(node->left) > height(node->right) + 1) {
        if (height(node->left->left) > height(node->left->right)) return rotate_right(std::move(node));
        node->left = rotate_left(std::move(node->left));
        measure(node);
        return rotate_right(std::move(node));
      }
    } else {
      node->right = insert(std::move(node->right), value);
      measure(node);
      hook(node);
      if (height(node->right) > height(node->left) + 1) {
        if (height(node->right->right) > height(node->right->left)) return rotate_left(std::move(node));
        node->right = rotate_right(std::move(node->right));
        measure(node);
        return rotate_left(std::move(node));
      }
    }
    return node;
  }

  Link after_left_delete(Link node) {
    measure(node);
    hook(node);
    if (height(node->right) <= height(node->left) + 1) return node;
    if (height(node->right->right) < height(node->right->left)) node->right = rotate_right(std::move(node->right));
    return rotate_left(std::move(node));
  }

  Link after_right_delete(Link node) {
    measure(node);
    hook(node);
    if (height(node->left) <= height(node->right) + 1) return node;
    if (height(node->left->left) < height(node->left->right)) node->left = rotate_left(std::move(node->left));
    return rotate_right(std::move(node));
  }

  Link erase(Link node, int value, bool release) {
    if (!node) return node;
    if (value < node->value) {
      node->left = erase(std::move(node->left), value, release);
      return after_left_delete(std::move(node));
    }
    if (value > node->value) {
      node->right = erase(std::move(node->right), value, release);
      return after_right_delete(std::move(node));
    }
    if (release) released.push_back(node->value);
    if (!node->left || !node->right) {
      Link child = std::move(node->left ? node->left : node->right);
      if (child) hook(child);
      return child;
    }
    const Node *least = node->right.get();
    while (least->left) least = least->left.get();
    node->value = least->value;
    node->right = erase(std::move(node->right), node->value, false);
    return after_right_delete(std::move(node));
  }
};

}  // namespace kiv::test

#endif
