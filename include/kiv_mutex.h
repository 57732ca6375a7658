/** @file
 * Recursive mutexes, in two generations that work on the same objects.
 *
 * The older generation (create, lock, unlock, destroy) treats every failure as fatal: it writes the system's message
 * into the thread message buffer, prints "windows error: MESSAGE" to standard output (the same label on every
 * system) and ends the process with exit code 1. The newer one (new, take, give, delete) returns a status and prints
 * nothing. New code uses the newer one.
 *
 * A mutex is one handle in a caller's variable; every function takes the variable's address. On Windows the handle is
 * a kernel mutex. Elsewhere it is the library's own object with the same rules: the owner may take it again and must
 * give it as often, and giving a mutex that one does not own fails.
 *
 * Bad handles: a null address, a null handle and a handle that was deleted before fail; they do not crash. As with
 * every handle, a deleted one may in time come to name a newer object.
 *
 * Thread safety: any thread may call any function, but a mutex must not be deleted while others use it. */
#ifndef KIV_MUTEX_H
#define KIV_MUTEX_H

#include "kiv_types.h"

KIV_BEGIN_DECLARATIONS

typedef void *kiv_mutex;

/** Stores a new mutex that nobody owns in *mutex. 0, or 1 with *mutex unchanged when the system has no more.
 * The second name is the same function: every mutex is recursive. */
KIV_API int kiv_mutex_new(kiv_mutex *mutex);
KIV_API int kiv_mutex_recursive_new(kiv_mutex *mutex);

/** Waits until the calling thread owns the mutex. 0; 1 for a bad handle. On Windows also 1 when the mutex was left
 * behind by a thread that ended while it owned it (the caller owns it then). */
KIV_API int kiv_mutex_take(kiv_mutex *mutex);

/** Undoes one take. 0; 1 for a bad handle or when the calling thread does not own the mutex. */
KIV_API int kiv_mutex_give(kiv_mutex *mutex);

/** Releases the mutex (second name: the semaphore), also one that the calling thread holds. The variable keeps its
 * value. 0; 1 for a bad handle and, except on Windows, for a mutex that another thread holds: it stays usable. */
KIV_API int kiv_mutex_delete(kiv_mutex *mutex);

/** The older generation; always 0, any failure ends the process. */
KIV_API int kiv_mutex_create(kiv_mutex *mutex);
KIV_API int kiv_mutex_lock(kiv_mutex *mutex);
KIV_API int kiv_mutex_unlock(kiv_mutex *mutex);
KIV_API int kiv_mutex_destroy(kiv_mutex *mutex);

/** Always 1: ownership is not tracked for checks. */
KIV_API int kiv_mutex_assert_is_locked_by_my_thread(kiv_mutex *mutex);
KIV_API int kiv_mutex_assert_is_not_locked_by_my_thread(kiv_mutex *mutex);

KIV_END_DECLARATIONS

#endif
