#include "kiv_dbll.h"

#include <cstring>
#include <vector>

#include "gtest/gtest.h"
#include "tests/support/random.h"

namespace {

/// A caller's record: the node is not the first thing in it.
struct Part {
  uint64_t before;
  KIV_DBLL_NODE node;
};

bool same_words(const KIV_DBLL_NODE &a, const KIV_DBLL_NODE &b) { return std::memcmp(&a, &b, sizeof a) == 0; }

void expect_list(KIV_DBLL_NODE *head, const std::vector<KIV_DBLL_NODE *> &nodes, KIV_DBLL_NODE *element) {
  ASSERT_EQ(head->owner, head);
  ASSERT_EQ(head->data, &nodes);
  const size_t count = nodes.size();
  ASSERT_EQ(head->next, count > 0 ? nodes.front() : nullptr);
  ASSERT_EQ(head->prev, count > 0 ? nodes.back() : nullptr);
  for (size_t i = 0; i < count; ++i) {
    ASSERT_EQ(nodes[i]->prev, i > 0 ? nodes[i - 1] : nullptr);
    ASSERT_EQ(nodes[i]->next, i + 1 < count ? nodes[i + 1] : nullptr);
    ASSERT_EQ(nodes[i]->owner, head);
    ASSERT_EQ(nodes[i]->data, reinterpret_cast<char *>(nodes[i]) - offsetof(Part, node));
    ASSERT_EQ(kiv_dbll_get_element_by_index(element, static_cast<int32_t>(i)), nodes[i]);
  }
  for (const int32_t index : {static_cast<int32_t>(count), INT32_MAX, -1, INT32_MIN}) {
    ASSERT_EQ(kiv_dbll_get_element_by_index(element, index), nullptr);
  }
  ASSERT_EQ(kiv_dbll_count(element), count);
  ASSERT_EQ(kiv_dbll_integrity_check(element), nullptr);
}

TEST(Dbll, AgreesWithAVector) {
  std::mt19937_64 random = kiv::test::make_random();
  std::vector<Part> parts(20);
  std::vector<KIV_DBLL_NODE *> spare, nodes;
  for (Part &part : parts) {
    std::memset(&part, 0xA5, sizeof part);
    part.node.data = &part;
    spare.push_back(&part.node);
  }
  KIV_DBLL_NODE head;
  std::memset(&head, 0xA5, sizeof head);
  ASSERT_EQ(kiv_dbll_init(&head), &head);
  ASSERT_EQ(head.data, nullptr);
  head.data = &nodes;
  for (uint32_t step = 0; step < 20000; ++step) {
    SCOPED_TRACE(step);
    // The head stands at count: behind it comes the first node, before it the last.
    const uint32_t count = static_cast<uint32_t>(nodes.size());
    const uint32_t at = kiv::test::below(random, count + 1);
    KIV_DBLL_NODE *const element = at < count ? nodes[at] : &head;
    const uint32_t action = kiv::test::below(random, 24);
    if (action < 16 && !spare.empty()) {
      KIV_DBLL_NODE *const node = spare.back();
      spare.pop_back();
      size_t index = 0;
      switch (action % 4) {
        case 0:
          ASSERT_EQ(kiv_dbll_insert_after(element, node), node);
          index = at < count ? at + 1 : 0;
          break;
        case 1:
          ASSERT_EQ(kiv_dbll_insert_before(element, node), node);
          index = at;
          break;
        case 2:
          ASSERT_EQ(kiv_dbll_prepend(element, node), node);
          break;
        default:
          kiv_dbll_append(element, node);
          index = count;
      }
      nodes.insert(nodes.begin() + static_cast<std::ptrdiff_t>(index), node);
    } else if (at < count) {
      uint32_t first = at, end = at + 1;  // of the nodes that go
      const std::vector<Part> before = parts;
      if (action < 22) {
        kiv_dbll_remove(element);
      } else if (action == 22) {
        first = 0;
        ASSERT_EQ(kiv_dbll_remove_and_all_previous(element), end < count ? nodes[end] : nullptr);
      } else {
        end = count;
        ASSERT_EQ(kiv_dbll_remove_and_all_next(element), first > 0 ? nodes[first - 1] : nullptr);
      }
      for (uint32_t i = first; i < end; ++i) {
        const auto part = static_cast<size_t>(static_cast<Part *>(nodes[i]->data) - parts.data());
        ASSERT_TRUE(same_words(before[part].node, *nodes[i]));
        spare.push_back(nodes[i]);
      }
      nodes.erase(nodes.begin() + static_cast<std::ptrdiff_t>(first), nodes.begin() + static_cast<std::ptrdiff_t>(end));
    }
    ASSERT_NO_FATAL_FAILURE(expect_list(&head, nodes, nodes.empty() ? &head : nodes[at % nodes.size()]));
  }
}

}  // namespace
