/** @file
 * Message handler lists: who is to be called when the message with a certain 64-bit key arrives. A client that numbers
 * its requests registers a handler for each, and hands every reply to the list, in whatever order replies come.
 *
 * A message is the caller's, of any size from four 32-bit words on. Its third and fourth word are its key, low word
 * first, in the byte order of the machine; nothing else of it is looked at. It has to be aligned to 4 bytes only.
 *
 * A handler is there for one message (one-shot), unless kiv_msg_handler_set_remove() keeps it.
 *
 * Callbacks may do to the list what they like, except to delete it: add, remove, replace and invoke handlers, their own
 * among them. A callback is given the contexts that its handler had when the message came.
 *
 * Conventions: a status is 0, or 1 for no handler with that key or no memory. All memory comes from the list's
 * allocator; a handler takes a block, and its place in the tree another. A null list is empty and takes nothing.
 *
 * Costs: O(log n) for everything that has a key; the others are linear, or O(n log n) where it says so.
 *
 * Thread safety: one thread at a time per list. */
#ifndef KIV_MSG_HANDLER_H
#define KIV_MSG_HANDLER_H

#include "kiv_allocator.h"
#include "kiv_avl.h"
#include "kiv_types.h"

KIV_BEGIN_DECLARATIONS

/** Called with a message and the two contexts of its handler. */
typedef void (*KIV_MSG_CALLBACK)(void *message, void *context1, void *context2);

/** What a caller wants to keep with a handler. No function reads it. */
typedef struct KIV_MSG_HANDLER_TEMPLATE {
  uint32_t words[4];
} KIV_MSG_HANDLER_TEMPLATE;

/** A handler, as the list holds it and a filter sees it. */
typedef struct KIV_MSG_HANDLER {
  KIV_MSG_HANDLER_TEMPLATE words; /**< the caller's, see kiv_msg_handler_add2() */
  uint64_t key;                   /**< low word first on all targets, which are little-endian */
  uint32_t one_shot;              /**< non-zero: goes when a message has come for it */
  KIV_MSG_CALLBACK callback;      /**< may be null */
  void *context1;
  void *context2;
} KIV_MSG_HANDLER;

typedef struct KIV_MSG_HANDLER_LIST {
  KIV_AVL_TREE *handlers; /**< ordered by their keys as unsigned numbers */
  KIV_ALLOCATOR *allocator;
} KIV_MSG_HANDLER_LIST;

/** Non-zero has the handler changed. handler is the one that the other values are of. */
typedef int (*KIV_MSG_HANDLER_FILTER)(uint32_t key_low, uint32_t key_high, const KIV_MSG_HANDLER *handler,
                                      KIV_MSG_CALLBACK callback, void *context1, void *context2, void *argument);

/** An empty list; null without memory. The allocator must outlive it. */
KIV_API KIV_MSG_HANDLER_LIST *kiv_msg_handler_list_new(KIV_ALLOCATOR *allocator);

/** Frees the list and all handlers in it, which are not called. Null is ignored. */
KIV_API void kiv_msg_handler_list_del(KIV_MSG_HANDLER_LIST *list);

/** Adds a one-shot handler for a key. words are copied; null stands for zeros. callback may be null: the message is
 * then merely expected.
 *
 * 0; 1, and the list as it was, without memory. A key has one handler: where there is one, it stays as it is, the new
 * one is dropped, and the result is 0 as well. A caller who wants the new one removes the old one first. */
KIV_API int kiv_msg_handler_add2(KIV_MSG_HANDLER_LIST *list, const KIV_MSG_HANDLER_TEMPLATE *words, uint32_t key_low,
                                 uint32_t key_high, KIV_MSG_CALLBACK callback, void *context1, void *context2);

/** The same with words of zero. */
KIV_API int kiv_msg_handler_add(KIV_MSG_HANDLER_LIST *list, uint32_t key_low, uint32_t key_high,
                                KIV_MSG_CALLBACK callback, void *context1, void *context2);

/** Sets whether the handler goes with its next message (non-zero) or stays. 0; 1 if no handler has the key. */
KIV_API int kiv_msg_handler_set_remove(KIV_MSG_HANDLER_LIST *list, uint32_t key_low, uint32_t key_high,
                                       uint32_t one_shot);

/** Removes the handler, which is not called. 0; 1 if no handler has the key. */
KIV_API int kiv_msg_handler_remove(KIV_MSG_HANDLER_LIST *list, uint32_t key_low, uint32_t key_high);

/** Removes all handlers in O(n log n); how many there were. */
KIV_API uint32_t kiv_msg_handler_remove_all(KIV_MSG_HANDLER_LIST *list);

/** Calls the callback of the handler for the message. If that was a one-shot one when the message came, the handler
 * that its key has after the callback is removed, be it the same or one that the callback has added. 0; 1 if no handler
 * has the key. */
KIV_API int kiv_msg_handler_invoke_callback(KIV_MSG_HANDLER_LIST *list, void *message);

/** Gives the contexts of the handler for the message, without calling it; a one-shot handler is removed. Where to store
 * a context may be null. 0; 1 if no handler has the key: nothing is stored. */
KIV_API int kiv_msg_handler_return_context(KIV_MSG_HANDLER_LIST *list, const void *message, void **context1,
                                           void **context2);

/** Gives handlers another callback and second context: those with this callback (null: any) and this second context
 * (null: any) that filter (null: all) lets pass. They are looked at in ascending order of their keys. How many were
 * changed.
 *
 * The filter may change the list, too, in O(log n) for each handler: those that it removes are not visited, and those
 * that it adds at higher keys are. When it lets a handler pass, the one that the key has then is changed, if any. */
KIV_API uint32_t kiv_msg_handler_replace(KIV_MSG_HANDLER_LIST *list, KIV_MSG_CALLBACK callback, void *context2,
                                         KIV_MSG_CALLBACK new_callback, void *new_context2,
                                         KIV_MSG_HANDLER_FILTER filter, void *argument);

/** The number of handlers, counted in linear time. */
KIV_API uint32_t kiv_msg_handler_count(KIV_MSG_HANDLER_LIST *list);

KIV_END_DECLARATIONS

#endif
