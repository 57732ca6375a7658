/* The shipped library as a plain C program sees it: through the public headers alone. A check of linkage, calling
 * convention and record layout, not of every rule; prints what fails and exits with 1. */
#include <stddef.h>
#include <stdio.h>
#include <string.h>

#include "kiv_common.h"

static int failures;

#define CHECK(condition) ((condition) ? (void)0 : fail(#condition, __LINE__))

static void fail(const char *condition, int line) {
  printf("line %d: %s\n", line, condition);
  ++failures;
}

static int compare_ints(const void *key, const void *value) {
  const int a = *(const int *)key;
  const int b = *(const int *)value;
  return (a > b) - (a < b);
}

static int add_up(void *value, void *sum) {
  *(int *)sum += *(int *)value;
  return 1;
}

static void allocators_and_trees(void) {
  KIV_ALLOCATOR standard, wrap, fast;
  int numbers[100];
  int i, sum = 0;
  KIV_AVL_TREE *tree;
  char *text;
  CHECK(kiv_allocator_default_new(&standard) == &standard);
  CHECK(kiv_allocator_wrap_new(&wrap, &standard, 1) == &wrap);
  CHECK(kiv_allocator_fast_new(&fast, &wrap, 0, NULL, 0, 4096) == 0);
  tree = kiv_avl_new_using_KIV_ALLOCATOR(&fast, compare_ints, NULL, NULL);
  CHECK(tree != NULL);
  for (i = 0; i < 100; ++i) {
    numbers[i] = i * 37 % 100;
    CHECK(kiv_avl_insert(tree, &numbers[i]) == 0);
  }
  kiv_avl_sequential_walk(tree, add_up, &sum);
  CHECK(sum == 4950);
  CHECK(kiv_avl_count_nodes(tree) == 100);
  CHECK(*(int *)kiv_avl_least(tree) == 0);
  CHECK(kiv_avl_sizeof_node() == sizeof(KIV_AVL_NODE));
  text = kiv_strcat(&wrap, kiv_strdup(&wrap, "left"), " right");
  CHECK(text != NULL && strcmp(text, "left right") == 0);
  kiv_allocator_fast_delete(&fast);
  kiv_allocator_wrap_delete(&wrap);
  CHECK(kiv_allocator_default_delete(&standard) == 1);
}

static void conversions(void) {
  const KIV_UNICHAR string[] = {0x20AC, 0x1F600, 0};
  KIV_UNICHAR back[3];
  char utf8[8];
  CHECK(kiv_string_convert_utf32_to_utf8(string, utf8, 8) == 1);
  CHECK(strcmp(utf8, "\xE2\x82\xAC\xF0\x9F\x98\x80") == 0);
  CHECK(kiv_string_convert_utf8_to_utf32(utf8, back, 3) == 1 && memcmp(back, string, sizeof string) == 0);
}

static int32_t add_one(void *record) {
  KIV_MANAGED_THREAD *thread = (KIV_MANAGED_THREAD *)record;
  return kiv_thread_finish(thread, (int32_t)(thread->thread_id == kiv_thread_get_current_thread_id()));
}

static KIV_THREAD_ROUTINE_RESULT signal_it(void *semaphore) {
  kiv_semaphore_signal((kiv_semaphore *)semaphore);
  return 0;
}

static void threads(void) {
  KIV_MANAGED_THREAD managed;
  KIV_THREAD bare;
  kiv_semaphore semaphore;
  kiv_mutex mutex;
  int32_t value = 0;
  CHECK(kiv_semaphore_new(&semaphore, 0) == 0);
  CHECK(kiv_thread_new(&bare, signal_it, &semaphore) == 0);
  CHECK(kiv_semaphore_wait(&semaphore) == 0);
  CHECK(kiv_thread_join(bare) == 0);
  CHECK(kiv_semaphore_delete(&semaphore) == 0);
  CHECK(kiv_thread_start_detached(add_one, &managed, NULL) == 0);
  while (kiv_thread_return_value(&managed, &value) != 0) kiv_milli_sleep(1);
  CHECK(value == 1);
  CHECK(kiv_mutex_new(&mutex) == 0);
  CHECK(kiv_mutex_take(&mutex) == 0 && kiv_mutex_give(&mutex) == 0);
  CHECK(kiv_mutex_delete(&mutex) == 0);
}

static void string_arrays_and_sets(void) {
  KIV_ALLOCATOR heap;
  KIV_STRING_ARRAY_PRINT_CONTEXT context;
  KIV_STRING_KVSET *set;
  KIV_STRING_KVSET_PAIR *pair = NULL;
  kiv_allocator_default_new(&heap);
  CHECK(kiv_string_array_init_KIV_STRING_ARRAY_PRINT_CONTEXT(&context, &heap) == 0);
  CHECK(kiv_string_array_printf(&context, "%d\n%s", 12, "x") == 4);
  CHECK(kiv_string_n_elems_in_KIV_STRING_ARRAY(context.array) == 2 && context.line_complete == 0);
  set = kiv_string_kvset_new(&heap, 1, 1);
  CHECK(kiv_string_kvset_add(set, "a", NULL, "first", NULL) == 0);
  CHECK(kiv_string_kvset_find_least_greater_or_equal2(&heap, set, "", NULL, &pair) == 0);
  CHECK(pair != NULL && pair->key[0] == 'a' && pair->value[0] == 'f');
  kiv_string_kvset_delete(set);
  kiv_string_array_destroy_contents_KIV_STRING_ARRAY_PRINT_CONTEXT(&context);
  CHECK(context.array == NULL);
}

/* A record of nine words comes by value and goes by value. */
static void objects(void) {
  KIV_OBJ_BIGFLT storage;
  bigflt two, got;
  KIV_OBJ *object;
  kiv_bigflt_assign_one(&two);
  kiv_bigflt_add_implied(&two, &two);
  object = obj_bigflt_new_automatic(&storage, two);
  kiv_bigflt_negate_implied(&two);
  CHECK(object == &storage.header && obj_bigflt_get(object).exponent == 2);
  obj_bigflt_set(object, two);
  got = obj_bigflt_get(object);
  CHECK(memcmp(&got, &two, sizeof got) == 0);
}

static void fixed_entry_points(void) {
  CHECK(kiv_common_built_with_debug() == 0);
  CHECK(kiv_assert_box_win32(1, "file", "message") == 0);
  CHECK(kiv_socket_host_supports_tcp_nodelay() == 1);
  kiv_process_init();
  kiv_prq_integrity_check(NULL);
  kiv_ipc_free(NULL);
}

int main(void) {
  allocators_and_trees();
  conversions();
  threads();
  string_arrays_and_sets();
  objects();
  fixed_entry_points();
  if (failures == 0) printf("conforms\n");
  return failures != 0;
}
