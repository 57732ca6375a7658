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

void expect_list(KIV_DBLL_NODE *head, const std::vector<Part *> &parts, KIV_DBLL_NODE *element) {
  const auto node = [&](size_t i) { return i < parts.size() ? &parts[i]->node : nullptr; };
  const KIV_DBLL_NODE right_head = {node(0), head, node(parts.size() - 1), head};
  ASSERT_EQ(std::memcmp(head, &right_head, sizeof right_head), 0);
  for (size_t i = 0; i < parts.size(); ++i) {
    const KIV_DBLL_NODE right = {node(i + 1), parts[i], node(i - 1), head};
    ASSERT_EQ(std::memcmp(node(i), &right, sizeof right), 0) << "node " << i;
    ASSERT_EQ(kiv_dbll_get_element_by_index(element, static_cast<int32_t>(i)), node(i));
  }
  for (const int32_t index : {static_cast<int32_t>(parts.size()), INT32_MAX, -1, INT32_MIN}) {
    ASSERT_EQ(kiv_dbll_get_element_by_index(element, index), nullptr);
  }
  ASSERT_EQ(kiv_dbll_count(element), parts.size());
  ASSERT_EQ(kiv_dbll_integrity_check(element), nullptr);
}

TEST(Dbll, AgreesWithAVector) {
  std::mt19937_64 random = kiv::test::make_random();
  std::vector<Part> records(20);
  std::vector<Part *> spare, parts;
  for (Part &part : records) {
    part.node.data = &part;
    spare.push_back(&part);
  }
  KIV_DBLL_NODE head = records[0].node;
  ASSERT_EQ(kiv_dbll_init(&head)->data, nullptr);
  head.data = &head;
  for (uint32_t step = 0; step < 20000; ++step) {
    SCOPED_TRACE(step);
    // The head stands at count: behind it comes the first node, before it the last.
    const auto count = static_cast<uint32_t>(parts.size()), at = kiv::test::below(random, count + 1);
    const uint32_t action = kiv::test::below(random, 24);
    KIV_DBLL_NODE *const element = at < count ? &parts[at]->node : &head;
    if (action < 16 && !spare.empty()) {
      Part *const part = spare.back();
      spare.pop_back();
      const uint32_t after = at < count ? at + 1 : 0, index[] = {after, at, 0, count};
      if (action % 4 == 0) ASSERT_EQ(kiv_dbll_insert_after(element, &part->node), &part->node);
      if (action % 4 == 1) ASSERT_EQ(kiv_dbll_insert_before(element, &part->node), &part->node);
      if (action % 4 == 2) ASSERT_EQ(kiv_dbll_prepend(element, &part->node), &part->node);
      if (action % 4 == 3) kiv_dbll_append(element, &part->node);
      parts.insert(parts.begin() + index[action % 4], part);
    } else if (at < count) {
      const std::vector<Part> before = records;
      const uint32_t first = action == 22 ? 0 : at, end = action == 23 ? count : at + 1;  // of the nodes that go
      if (action < 22) kiv_dbll_remove(element);
      if (action == 22) ASSERT_EQ(kiv_dbll_remove_and_all_previous(element), end < count ? element->next : nullptr);
      if (action == 23) ASSERT_EQ(kiv_dbll_remove_and_all_next(element), first > 0 ? element->prev : nullptr);
      for (uint32_t i = first; i < end; ++i) {
        spare.push_back(parts[i]);
        ASSERT_EQ(std::memcmp(parts[i], &before[static_cast<size_t>(parts[i] - records.data())], sizeof(Part)), 0);
      }
      parts.erase(parts.begin() + first, parts.begin() + end);
    }
    ASSERT_NO_FATAL_FAILURE(expect_list(&head, parts, parts.empty() ? &head : &parts[at % parts.size()]->node));
  }
}

}  // namespace
