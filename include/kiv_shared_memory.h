/** @file
 * Memory that processes share: a segment has a number, which one process passes to another in whatever way it likes.
 *
 * A segment lives as long as anybody is attached to it; a process that ends or is killed detaches. Afterwards nobody
 * can attach any more and the number is free. New segments are filled with zeros. What the processes do with the data
 * is not synchronised.
 *
 * A segment is named "__PLQ_shm_" followed by its number in decimal, and starts with a 32-bit word: the total of its
 * bytes, this word included. On Windows it is a mapping of that name in the session's namespace, backed by the page
 * file. On Linux it is a file of that name in /dev/shm (a tmpfs; /proc is needed too), which only its owner can open
 * and only a process of the same user attaches to; all its memory is there from the start. When the last user was
 * killed the file stays until the next segment is made by any process of its owner.
 *
 * A child made by fork() shares its parent's attachments. A shared one counts until all that share it have detached or
 * ended; exec() ends the attachments of the process that calls it. When the last that shares one ends without
 * detaching, or another thread of the last user is between fork() and exec() when that detaches, or it has no file
 * descriptor free then, the dead file stays, as after a kill, until the next segment is made. Attachments hold no
 * descriptors.
 *
 * Thread safety: one thread at a time per handle; the same process may attach to a segment through several handles.
 * REQUIRES, throughout: a handle is zero-filled before its first use. Null handles fail. */
#ifndef KIV_SHARED_MEMORY_H
#define KIV_SHARED_MEMORY_H

#include "kiv_types.h"

KIV_BEGIN_DECLARATIONS

typedef struct KIV_SHARED_MEMORY {
  uint32_t attached; /**< 1 or 0; the other fields have a meaning only when it is 1 */
  int32_t number;
  void *base;    /**< the mapped view, which starts with the size word */
  void *mapping; /**< the system's handle; null on Linux, where the view is enough */
  void *view;    /**< the bytes that are mapped, as a number */
} KIV_SHARED_MEMORY;

/** Makes a segment for `size` bytes of data and attaches to it. Its number is the process id's remainder by 32768, or
 * the first one after it, going round, that is free. 0; 1, and an unchanged handle, when 1024 numbers in a row are in
 * use, without memory, or when size + 4 does not fit into 32 bits. REQUIRES: the handle is not attached. */
KIV_API int kiv_shared_memory_create_and_attach(KIV_SHARED_MEMORY *handle, uint32_t size);

/** Attaches to a segment that somebody is attached to. 0; 1, and an unchanged handle, when there is none of that number
 * or it cannot be opened. REQUIRES: the handle is not attached. */
KIV_API int kiv_shared_memory_attach(KIV_SHARED_MEMORY *handle, int32_t number);

/** Gives the attachment back; the data is no longer there. 0; 1 when the handle is not attached or the system refuses;
 * the handle is not attached afterwards in either case. Both names are the same: the last to detach ends the segment.
 */
KIV_API int kiv_shared_memory_detach(KIV_SHARED_MEMORY *handle);
KIV_API int kiv_shared_memory_detach_and_destroy(KIV_SHARED_MEMORY *handle);

/** The segment's number; -1 when the handle is not attached. */
KIV_API int32_t kiv_shared_memory_get_id(const KIV_SHARED_MEMORY *handle);

/** The data, at an address divisible by 4; null when the handle is not attached. */
KIV_API void *kiv_shared_memory_get_data(const KIV_SHARED_MEMORY *handle);

/** The bytes of data, as the segment's first word tells them; 0 when the handle is not attached. Other processes can
 * write to that word, hence the result is never more than what is mapped here. */
KIV_API uint32_t kiv_shared_memory_get_size(const KIV_SHARED_MEMORY *handle);

KIV_END_DECLARATIONS

#endif
