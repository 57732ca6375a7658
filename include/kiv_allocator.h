/** @file
 * Allocator records: every family that needs memory takes one from its caller, and frees through the same one.
 *
 * Three kinds are made here. The default kind is the C runtime's heap. The wrapping kind records every block, so that
 * one call releases all of them. The fast kind carves blocks out of chunks and releases only all together. A fourth
 * kind, which checks its blocks, is in kiv_debug_heap.h.
 *
 * Conventions: sizes are unsigned 32-bit numbers and their arithmetic wraps silently (an alloc of 0xFFFFFFFF bytes from
 * the fast kind gives a block of no bytes, one of a few bytes less null). A failed operation gives null and leaves the
 * old block as it was. The nofail operations never give null for a size above 0 while the C runtime has memory or gets
 * some in time: those of the default kind try twelve times, a second apart, and then end in kiv_crash(); those of the
 * other kinds rely on their parent's, and those of the debug heap are its plain ones.
 *
 * Ownership: a record whose storage the caller provides is never freed by the library. A parent outlives its children.
 *
 * Thread safety: the default kind may be used by any thread. A wrapping or fast allocator made with a non-zero
 * locked flag holds its mutex for the whole of each operation, parent calls included; without it, one thread at a time
 * may use the record. */
#ifndef KIV_ALLOCATOR_H
#define KIV_ALLOCATOR_H

#include "kiv_mutex.h"
#include "kiv_types.h"

KIV_BEGIN_DECLARATIONS

typedef struct KIV_ALLOCATOR KIV_ALLOCATOR;

/** Twelve words that belong to the allocator's kind. Read them in a debugger; never write them. */
typedef union KIV_ALLOCATOR_STATE {
  uintptr_t words[12];
  struct {
    uintptr_t unused_1, unused_2;
    kiv_mutex mutex; /**< made and deleted with the record, taken by no operation */
    uintptr_t unused_4, unused_5, unused_6, unused_7, unused_8, unused_9, unused_10, unused_11;
    uintptr_t caller_owned;
  } standard;
  struct {
    kiv_mutex mutex;
    uintptr_t locked;
    uintptr_t unused_3;
    KIV_ALLOCATOR *parent;
    uintptr_t unused_5;
    struct KIV_AVL_TREE *blocks; /**< cells, each holding the address of one block, in the order of these addresses */
    uintptr_t unused_7, unused_8, unused_9, unused_10, unused_11;
    uintptr_t caller_owned;
  } wrap;
  struct {
    kiv_mutex mutex;
    uintptr_t locked;
    uintptr_t unused_3;
    KIV_ALLOCATOR *parent;
    uintptr_t minimum_chunk_size; /**< bytes */
    uint8_t *cursor;              /**< next free byte of the current chunk */
    uintptr_t remaining;          /**< bytes behind the cursor */
    void *chunks;                 /**< newest first */
    uintptr_t unused_9;
    uint8_t *initial_buffer; /**< aligned up to 8 */
    uintptr_t initial_size;  /**< usable bytes */
    uintptr_t caller_owned;
  } fast;
  struct {
    kiv_mutex mutex;
    uintptr_t locked;
    uintptr_t unused_3;
    struct KIV_AVL_TREE *blocks; /**< the start addresses of the live blocks, in their order */
    uintptr_t magic;             /**< KIV_DEBUG_HEAP_MAGIC */
    uintptr_t unused_6, unused_7, unused_8, unused_9, unused_10, unused_11;
    uintptr_t caller_owned;
  } debug_heap; /**< see kiv_debug_heap.h */
} KIV_ALLOCATOR_STATE;

struct KIV_ALLOCATOR {
  /** At least size bytes, or null. */
  void *(*alloc)(KIV_ALLOCATOR *allocator, uint32_t size);
  /** count * size zero bytes, or null. */
  void *(*calloc)(KIV_ALLOCATOR *allocator, uint32_t count, uint32_t size);
  /** Null is ignored. REQUIRES: the block came from this record. */
  void (*free)(KIV_ALLOCATOR *allocator, void *block);
  /** The block with a new size, perhaps elsewhere; null on failure. A null block gives a new one. */
  void *(*realloc)(KIV_ALLOCATOR *allocator, void *block, uint32_t size);
  void *(*alloc_nofail)(KIV_ALLOCATOR *allocator, uint32_t size);
  void *(*calloc_nofail)(KIV_ALLOCATOR *allocator, uint32_t count, uint32_t size);
  void *(*realloc_nofail)(KIV_ALLOCATOR *allocator, void *block, uint32_t size);
  KIV_ALLOCATOR_STATE state;
};

/* --- The default kind: the C runtime's heap ---------------------------------------------------------------------- */

/** Makes a default allocator in storage, or in a record of its own when storage is null. Null when the C runtime has no
 * memory for that. Its operations are malloc, calloc, free and realloc.
 *
 * realloc_nofail gives up the old block after its first failure: the later attempts are fresh allocations, the old
 * contents are not carried over and the old block is not released. A caller who needs them uses realloc. */
KIV_API KIV_ALLOCATOR *kiv_allocator_default_new(KIV_ALLOCATOR *storage);

/** Ends the record; blocks stay valid and can be freed with the C runtime's free. Always 1. */
KIV_API int kiv_allocator_default_delete(KIV_ALLOCATOR *allocator);

/* --- The wrapping kind: knows its blocks ------------------------------------------------------------------------- */

/** Makes a wrapping allocator that takes blocks from parent, in storage, or in a record from the parent when storage is
 * null. Null when the record, the mutex or the registry cannot be made.
 *
 * A block costs one further pointer-sized block of the parent and one node of an AVL tree on the C runtime's heap.
 * Size 0: alloc gives null. realloc of a block to 0 does what the parent does: null when the parent releases the block.
 * realloc of a block that this record did not hand out gives a new block and does not touch the old one; free ignores
 * one. When the registry's memory runs out, there is no new block, also from a nofail operation. */
KIV_API KIV_ALLOCATOR *kiv_allocator_wrap_new(KIV_ALLOCATOR *storage, KIV_ALLOCATOR *parent, uint32_t locked);

/** Frees all blocks, lowest address first, in time linear in their number. The allocator stays usable. */
KIV_API void kiv_allocator_wrap_dealloc_all(KIV_ALLOCATOR *allocator);

/** Frees all blocks and ends the record. */
KIV_API void kiv_allocator_wrap_delete(KIV_ALLOCATOR *allocator);

/* --- The fast kind: a pool released as a whole ------------------------------------------------------------------- */

/** Makes a fast allocator in storage (required). It first carves blocks from initial_buffer (may be null), then from
 * chunks of at least minimum_chunk_size bytes that it takes from parent. 0, or 1 with the storage unchanged when the
 * mutex cannot be made. REQUIRES: a buffer has at least 8 bytes.
 *
 * A block is 8-aligned and preceded by 8 bytes of which the first 32-bit word is its size. free does nothing. realloc
 * to no more than the recorded size keeps the block and records the smaller size, so that a later growth copies only
 * that much; growing takes a new block. */
KIV_API int kiv_allocator_fast_new(KIV_ALLOCATOR *storage, KIV_ALLOCATOR *parent, uint32_t locked, void *initial_buffer,
                                   uint32_t initial_buffer_size, uint32_t minimum_chunk_size);

/** Frees all chunks and starts again at the initial buffer. The allocator stays usable. */
KIV_API void kiv_allocator_fast_dealloc_all(KIV_ALLOCATOR *allocator);

/** Frees all chunks and the mutex. */
KIV_API void kiv_allocator_fast_delete(KIV_ALLOCATOR *allocator);

/* --- Grouped blocks ---------------------------------------------------------------------------------------------- */

/** One allocation split into up to four (eight) 8-aligned blocks, in the order of the arguments. A size of 0 takes no
 * room and leaves its out-pointer alone. 0, or 1 with all out-pointers unchanged; nothing is allocated when all sizes
 * are 0. Freeing the first block of non-zero size frees the whole group. The calloc forms give zero bytes. */
KIV_API int kiv_alloc4(KIV_ALLOCATOR *allocator, uint32_t size1, uint32_t size2, uint32_t size3, uint32_t size4,
                       void **out1, void **out2, void **out3, void **out4);
KIV_API int kiv_calloc4(KIV_ALLOCATOR *allocator, uint32_t size1, uint32_t size2, uint32_t size3, uint32_t size4,
                        void **out1, void **out2, void **out3, void **out4);
KIV_API int kiv_alloc8(KIV_ALLOCATOR *allocator, uint32_t size1, uint32_t size2, uint32_t size3, uint32_t size4,
                       uint32_t size5, uint32_t size6, uint32_t size7, uint32_t size8, void **out1, void **out2,
                       void **out3, void **out4, void **out5, void **out6, void **out7, void **out8);
KIV_API int kiv_calloc8(KIV_ALLOCATOR *allocator, uint32_t size1, uint32_t size2, uint32_t size3, uint32_t size4,
                        uint32_t size5, uint32_t size6, uint32_t size7, uint32_t size8, void **out1, void **out2,
                        void **out3, void **out4, void **out5, void **out6, void **out7, void **out8);

/* --- Helpers ----------------------------------------------------------------------------------------------------- */

/** Resizes *block, whose capacity is its size rounded up to a multiple of 2^chunk_shift bytes (the shift counts modulo
 * 32), touching the allocator only when the capacity changes. A new size of 0 frees a block of any size above 0 and
 * stores null. With zero_new_bytes the bytes from old_size to new_size are zero. 0; 1 when growing failed, *block is
 * then unchanged; a failed shrink keeps the block and is success. */
KIV_API int kiv_alloc_realloc_chunkwise(KIV_ALLOCATOR *allocator, uint32_t chunk_shift, void **block, uint32_t old_size,
                                        uint32_t new_size, uint32_t zero_new_bytes);

/** A copy of text (null counts as ""), owned by the caller; null on failure. */
KIV_API char *kiv_strdup(KIV_ALLOCATOR *allocator, const char *text);

/** Appends more to text, which is owned by the allocator or null, and gives the perhaps moved result. A null more gives
 * text as it is, also null. Null on failure: text is then still valid. REQUIRES: more is not a part of text. */
KIV_API char *kiv_strcat(KIV_ALLOCATOR *allocator, char *text, const char *more);

/* --- Last resorts of the nofail operations ----------------------------------------------------------------------- */

/** Sleeps that many seconds; 0 yields the processor. */
KIV_API void kiv_sleep(uint32_t seconds);

/** Ends the process at once with a memory fault at address 0; does not return. */
KIV_API KIV_NORETURN void kiv_crash(void);

KIV_END_DECLARATIONS

#endif
