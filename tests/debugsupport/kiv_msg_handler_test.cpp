#include "kiv_msg_handler.h"

#include <cstring>
#include <map>
#include <vector>

#include "gtest/gtest.h"
#include "tests/support/counting_allocator.h"
#include "tests/support/random.h"

namespace {

using kiv::test::below;
using kiv::test::CountingAllocator;

/// A message, at an address that is a multiple of 4 only.
struct Message {
  explicit Message(uint64_t key) { std::memcpy(words + 3, &key, sizeof key); }
  void *at() { return words + 1; }
  alignas(8) uint32_t words[6] = {};
};

struct Handler {
  uint64_t key;
  uint32_t last_word, one_shot;
  KIV_MSG_CALLBACK callback;
  void *context1, *context2;
  bool operator==(const Handler &) const = default;
};

/// Random operations on a list and on a map. Callbacks go on with both while they are being called, so that a handler
/// may be gone, or another one, when they return.
struct Model {
  Model() { self = this; }
  ~Model() { kiv_msg_handler_list_del(list); }

  template <int kWhich>
  static void called(void *message, void *context1, void *context2) {
    uint64_t key;
    std::memcpy(&key, static_cast<char *>(message) + 8, sizeof key);
    std::memset(message, 0xEE, 16);
    self->calls.push_back({key, 0, 0, called<kWhich>, context1, context2});
    if (++self->depth < 4) {
      for (uint32_t i = below(self->random, 4); i > 0; --i) self->step();
    }
    --self->depth;
  }

  void *any_context() { return reinterpret_cast<void *>(uintptr_t{below(random, 3)}); }
  KIV_MSG_CALLBACK any_callback() {
    constexpr KIV_MSG_CALLBACK kAll[] = {nullptr, called<1>, called<2>};
    return kAll[below(random, 3)];
  }

  void add(uint32_t low, uint32_t high) {
    const Handler handler = {uint64_t{high} << 32 | low, 5, 1, any_callback(), any_context(), any_context()};
    const KIV_MSG_HANDLER_TEMPLATE words = {{1, 2, 3, 5}};
    ASSERT_EQ(kiv_msg_handler_add2(list, &words, low, high, handler.callback, handler.context1, handler.context2), 0);
    model.emplace(handler.key, handler);  // which leaves one that is there
  }

  void invoke(uint64_t key) {
    const auto found = model.find(key);
    const bool is_there = found != model.end();
    const Handler handler = is_there ? found->second : Handler{};
    const size_t known = calls.size();
    ASSERT_EQ(kiv_msg_handler_invoke_callback(list, Message(key).at()), is_there ? 0 : 1);
    ASSERT_EQ(calls.size() > known, handler.callback != nullptr);
    const Handler call = {key, 0, 0, handler.callback, handler.context1, handler.context2};
    if (handler.callback != nullptr) ASSERT_EQ(calls[known], call);
    if (handler.one_shot != 0) model.erase(key);
  }

  void take_contexts(uint64_t key) {
    const auto found = model.find(key);
    const bool is_there = found != model.end();
    void *context1 = this, *context2 = this;
    ASSERT_EQ(kiv_msg_handler_return_context(list, Message(key).at(), &context1, nullptr), is_there ? 0 : 1);
    ASSERT_EQ(context1, is_there ? found->second.context1 : this);
    if (is_there && found->second.one_shot == 0) {
      ASSERT_EQ(kiv_msg_handler_return_context(list, Message(key).at(), nullptr, &context2), 0);
      ASSERT_EQ(context2, found->second.context2);
    }
    if (is_there && found->second.one_shot != 0) model.erase(found);
  }

  void replace() {
    const Handler old = {0, 0, 0, any_callback(), nullptr, any_context()};
    const Handler now = {0, 0, 0, any_callback(), nullptr, any_context()};
    uint32_t count = 0;
    for (auto &[key, handler] : model) {
      if (old.callback != nullptr && old.callback != handler.callback) continue;
      if (old.context2 != nullptr && old.context2 != handler.context2) continue;
      handler.callback = now.callback, handler.context2 = now.context2, ++count;
    }
    ASSERT_EQ(kiv_msg_handler_replace(list, old.callback, old.context2, now.callback, now.context2, nullptr, this),
              count);
  }

  void step() {
    // Some keys differ in one of their words alone, some in the sign.
    const uint32_t low = below(random, 4), high = below(random, 2) << 31 | below(random, 2);
    const uint64_t key = uint64_t{high} << 32 | low;
    const int status = model.count(key) != 0 ? 0 : 1;
    const uint32_t choice = below(random, 100);
    if (choice < 50) return add(low, high);
    if (choice < 70) return invoke(key);
    if (choice < 78) return take_contexts(key);
    if (choice < 82) return replace();
    if (choice < 90) {
      ASSERT_EQ(kiv_msg_handler_set_remove(list, low, high, choice % 2 << 31), status);
      if (status == 0) model[key].one_shot = choice % 2 << 31;
    } else if (choice < 98) {
      ASSERT_EQ(kiv_msg_handler_remove(list, low, high), status);
      model.erase(key);
    } else {
      ASSERT_EQ(kiv_msg_handler_remove_all(list), model.size());
      model.clear();
    }
  }

  static int compare_next(void *value, void *expected) {
    const auto *its = static_cast<const KIV_MSG_HANDLER *>(value);
    auto &next = *static_cast<std::map<uint64_t, Handler>::const_iterator *>(expected);
    return Handler{its->key, its->words.words[3], its->one_shot, its->callback, its->context1, its->context2} ==
           (next++)->second;
  }

  void check() {
    ASSERT_EQ(kiv_msg_handler_count(list), model.size());
    auto next = model.cbegin();
    ASSERT_EQ(kiv_avl_conditional_sequential_walk(list->handlers, compare_next, &next), 1);
    ASSERT_EQ(allocator.live_blocks(), 2 + 2 * model.size() + (list->handlers->free_nodes != nullptr ? 1 : 0));
  }

  static Model *self;
  std::mt19937_64 random = kiv::test::make_random();
  CountingAllocator allocator;
  KIV_MSG_HANDLER_LIST *list = kiv_msg_handler_list_new(allocator.record());
  std::map<uint64_t, Handler> model;
  std::vector<Handler> calls;
  int depth = 0;
};

Model *Model::self;

TEST(MsgHandler, DoesWhatTheModelDoesAlsoWithinCallbacks) {
  Model model;
  for (int i = 0; i < 30000 && !HasFatalFailure(); ++i) model.step(), model.check();
}

/// Passes even keys. Removes the handlers of 3 and 6 before they are visited or changed, has another one at 8, adds 10.
int meddle(uint32_t low, uint32_t high, const KIV_MSG_HANDLER *handler, KIV_MSG_CALLBACK callback, void *context1,
           void *context2, void *argument) {
  EXPECT_TRUE(handler->key == (uint64_t{high} << 32 | low) && handler->callback == callback && low != 3);
  EXPECT_TRUE(handler->context1 == context1 && handler->context2 == context2);
  auto *list = static_cast<KIV_MSG_HANDLER_LIST *>(argument);
  if (low == 2) (void)kiv_msg_handler_remove(list, 3, high);
  if (low == 6 || low == 8) (void)kiv_msg_handler_remove(list, low, high);
  if (low == 8) (void)kiv_msg_handler_add(list, 8, high, callback, list, list);
  if (low == 8) (void)kiv_msg_handler_add(list, 10, high, callback, context1, context2);
  return low % 2 == 0 ? -1 : 0;
}

TEST(MsgHandler, FiltersMayChangeTheList) {
  CountingAllocator allocator;
  KIV_MSG_HANDLER_LIST *list = kiv_msg_handler_list_new(allocator.record());
  for (uint32_t key = 8; key > 0; --key) (void)kiv_msg_handler_add(list, key, 6, nullptr, &key, nullptr);
  EXPECT_EQ(kiv_msg_handler_replace(list, nullptr, nullptr, nullptr, &allocator, meddle, list), 4u);  // 2 4 8 10
  void *contexts[2] = {};
  EXPECT_EQ(kiv_msg_handler_return_context(list, Message(uint64_t{6} << 32 | 8).at(), &contexts[0], &contexts[1]), 0);
  EXPECT_TRUE(contexts[0] == list && contexts[1] == &allocator);
  kiv_msg_handler_list_del(list);
}

TEST(MsgHandler, SurvivesEveryFailedAllocation) {
  const auto points = kiv::test::sweep_failures([](CountingAllocator &allocator) {
    KIV_MSG_HANDLER_LIST *list = kiv_msg_handler_list_new(allocator.record());
    uint32_t added = 0;
    for (uint32_t key = 0; key < 3; ++key) {
      if (kiv_msg_handler_add(list, key, 0, nullptr, nullptr, nullptr) == 0) ++added;
      EXPECT_EQ(kiv_msg_handler_count(list), added);
    }
    EXPECT_EQ(added < 3, allocator.has_failed());
    kiv_msg_handler_list_del(list);
  });
  EXPECT_EQ(points, 8u);
}

}  // namespace
