/** @file
 * The debug heap: an allocator record that checks every block of its own at every operation.
 *
 * A block is user size + 20 bytes of the C runtime's heap, the same on every target:
 *
 *     offset        bytes      content
 *     0             4          filler, 0xAA, never checked
 *     4             4          total size: user size + 20
 *     8             4          state: KIV_DEBUG_HEAP_ALLOCATED, after its release KIV_DEBUG_HEAP_RELEASED
 *     12            4          front guard, 0xCD
 *     16            user size  the user's bytes: 0xAA in a new block
 *     16 + size     4          back guard, 0xCD
 *
 * A released block is filled with 0xBB, but for its state, before the C runtime gets it back. The addresses of all live
 * blocks are in a registry. alloc, calloc, realloc and free check all of them: an operation takes time linear in the
 * number of live blocks, and finds out at the next operation at the latest about a write that changes a state or a
 * guard of a live block. One that goes past these, and one into a released block, is not seen: that memory is the C
 * runtime's.
 *
 * Reports. A check that fails flushes standard output, calls the hook with a line number, the source file's name
 * ("kiv_debug_allocator.cpp") and a message, and flushes again. When the hook gives 0 the operation goes on; otherwise
 * the thread sleeps for good, in steps of a second, so that a debugger can look at it. The library's hook is
 * kiv_assert_box_win32, which is silent: a program that wants to hear about its errors installs another one first.
 *
 *     kiv_debug_heap_set_hook(kiv_debug_heap_print_hook);
 *     KIV_ALLOCATOR *heap = kiv_debug_heap_new(NULL, 1);
 *
 * The line numbers are constants by which a hook can tell the checks apart:
 *
 *     line                           message
 *     154                            adding block for the second time to heap admin
 *     158                            adding block to heap admin failed
 *     201                            write before start of block detected in free() or specified an unknown pointer
 *     207, once for each bad byte    write beyond end of block detected in free()
 *     210                            about to free an invalid pointer
 *     213                            invalid pointer
 *     219, once for each bad byte    write before start of block detected in free()
 *     409 (alloc), 465 (calloc), 500 (free and realloc, at the registry), 529 (realloc), 624 (free), 688 (new)
 *                                    Internal inconsistency: alloc variable
 *     415 (alloc), 535 (realloc), 630 (free), 753 (destroy)
 *                                    kiv_mutex_take failed
 *     445 (alloc), 571 (realloc), 643 (free), 772 (destroy)
 *                                    kiv_mutex_give failed
 *     423 and 424, 431               malloc failed
 *     471 and 472                    calloc failed
 *     513                            free-ing block ADDRESS not allocated or already free-ed before
 *                                    realloc-ing block ADDRESS not allocated before
 *     560 and 561                    realloc failed
 *     716                            admin init failed
 *     722                            kiv_mutex_new failed
 *     757                            not a debug heap allocator
 *     765                            not all allocated memory has been free-ed
 *     777                            kiv_mutex_delete failed
 *
 * A null result of the C runtime is reported twice, as null and as unreadable. The message of line 513 ends with a line
 * feed and is also written to standard error, behind a line of asterisks, whatever the hook does. ADDRESS is the start
 * of the block, 16 bytes before the user's pointer, as the C runtime prints "%p"; so are the addresses of
 * kiv_debug_heap_dump_heap_admin. A record that is no debug heap, or has been overwritten, is met with "sorry, not a
 * debug heap allocator" on standard error.
 *
 * What goes on after a report is chosen so that the checker does not add damage of its own:
 *  - Nothing is read that the system calls unreadable. A header that cannot be read is reported with 201, 213 and, when
 *    its first byte cannot be read either, 210 between these.
 *    A total size that reaches into unreadable memory is reported with 213, and no back guard is looked for; one below
 *    20 counts as four bad guard bytes.
 *  - An unknown block (513) is checked as far as it can be read, and then left alone: free does not fill it and does
 *    not hand it to the C runtime; realloc gives a new block, with the contents of one that is live and whole. This
 *    makes a second free, a foreign pointer and a block of another record harmless, as long as no new block of this
 *    record has got the same address.
 *  - A total size that reaches beyond the block is not believed: only the 20 bytes that every block has are filled.
 *  - An unreadable record is reported and nothing else is done: the result is null.
 *  - A block whose registration failed (158) is given out, and is an unknown block from then on.
 *
 * Running out of memory. alloc_nofail, calloc_nofail and realloc_nofail are alloc, calloc and realloc. alloc gives
 * null, also for sizes above 4294967275, to which 20 cannot be added. In two cases null is not survived: calloc of a
 * size above 0, and realloc of any block to any size. Both end in kiv_crash(), after the reports.
 *
 * Thread safety: a record made with a non-zero locked flag may be used by any thread; its mutex is held from the start
 * of alloc, realloc and free to their end, reports included. kiv_debug_heap_check_all_blocks and
 * kiv_debug_heap_dump_heap_admin take no lock: nobody else may use the record meanwhile. A hook must not use the record
 * that it is told about. */
#ifndef KIV_DEBUG_HEAP_H
#define KIV_DEBUG_HEAP_H

#include "kiv_allocator.h"
#include "kiv_stubs.h"
#include "kiv_types.h"

KIV_BEGIN_DECLARATIONS

/** What identifies the record of a debug heap, in state.debug_heap.magic. */
#define KIV_DEBUG_HEAP_MAGIC 0xACEDDEAFu

/** The state word of a block: while it is allocated, and after its release. */
#define KIV_DEBUG_HEAP_ALLOCATED 0xACACCACAu
#define KIV_DEBUG_HEAP_RELEASED 0xFCFCCFCFu

/** Makes a debug heap in storage, or in a record from the C runtime's heap when storage is null. Null when storage
 * cannot be read (688), when there is no memory for a record (no report), or when a locked one gets no mutex (722: a
 * record from the heap is then lost). Without memory for the registry (716) the record works, but no block is known to
 * it. */
KIV_API KIV_ALLOCATOR *kiv_debug_heap_new(KIV_ALLOCATOR *storage, uint32_t locked);

/** Reports whether blocks are alive (765), checks and releases these, zeroes the record, and frees it unless its
 * storage is the caller's. A record that is no debug heap is reported (757) and left alone. */
KIV_API void kiv_debug_heap_destroy_allocator(KIV_ALLOCATOR *allocator);

/** Checks every live block, in the order of their addresses. */
KIV_API void kiv_debug_heap_check_all_blocks(KIV_ALLOCATOR *allocator);

/** Writes "alloc list: ", the start addresses of the live blocks in their order, separated by ", ", and a line feed to
 * standard error. */
KIV_API void kiv_debug_heap_dump_heap_admin(KIV_ALLOCATOR *allocator);

/** Told about each report; 0 lets the operation go on, anything else stops the thread for good. The texts are valid
 * during the call. Called while the record's mutex is held, perhaps by several threads with different records. */
typedef int (*KIV_DEBUG_HEAP_HOOK)(int line, const char *file, const char *message);

/** Makes hook the one that all debug heaps of the process call from now on, and gives the one before it. Null stands
 * for the library's own, kiv_assert_box_win32. May be called at any time, by any thread. */
KIV_API KIV_DEBUG_HEAP_HOOK kiv_debug_heap_set_hook(KIV_DEBUG_HEAP_HOOK hook);

/** A hook that writes "FILE:LINE: MESSAGE" as a line to standard error. Always 0. */
KIV_API int kiv_debug_heap_print_hook(int line, const char *file, const char *message);

KIV_END_DECLARATIONS

#endif
