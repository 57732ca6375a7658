/** @file
 * Threads, thread-specific data and one-time initialisation.
 *
 * Threads come in two forms. A managed thread has a record with its running flag and return value; it is never joined,
 * its owner polls the record or waits for a semaphore of its own. A bare thread is an id and a handle to join.
 * Thread ids are the system's own (the kernel's thread id on Linux).
 *
 * Thread safety: all functions may be called from any thread, except that the single-thread mode is chosen before
 * threads are started. */
#ifndef KIV_THREAD_H
#define KIV_THREAD_H

#include "kiv_types.h"

KIV_BEGIN_DECLARATIONS

/* --- Managed threads --------------------------------------------------------------------------------------------- */

typedef struct KIV_MANAGED_THREAD KIV_MANAGED_THREAD;

/** What a managed thread runs. It normally ends with "return kiv_thread_finish(record, value);". */
typedef int32_t (*KIV_THREAD_ENTRY)(void *record);

/** Owned by the caller, who may embed it at the start of a larger structure. Filled by kiv_thread_start. */
struct KIV_MANAGED_THREAD {
  KIV_THREAD_ENTRY entry;
  void *argument;          /**< always the record itself */
  uint32_t free_on_finish; /**< non-zero: finishing frees the record with the C runtime's free */
  uint32_t running;        /**< 1 from the start until the thread finishes */
  int32_t return_value;    /**< stored when the thread finishes */
  uint32_t thread_id;
};

/** Fills the record and starts a thread that calls entry(record). 0; 1 when the system cannot create the thread: the
 * running flag is then 0 and *out_id unchanged. The id is in the record and in *out_id (which may be null) before the
 * entry function runs. With free_on_finish the record must come from the C runtime's malloc, and may be gone when this
 * returns.
 *
 * In single-thread mode the entry function is called at once on the calling thread, and ids count 1, 2, 3, ... If its
 * result differs from the value given to kiv_thread_finish, "return value mismatch" is written into the thread message
 * buffer (not checked with free_on_finish: the record is gone). */
KIV_API int kiv_thread_start(KIV_THREAD_ENTRY entry, KIV_MANAGED_THREAD *record, uint32_t *out_id,
                             uint32_t free_on_finish);

/** kiv_thread_start with free_on_finish 0. */
KIV_API int kiv_thread_start_detached(KIV_THREAD_ENTRY entry, KIV_MANAGED_THREAD *record, uint32_t *out_id);

/** The thread's last call: frees the record, or stores value and clears the running flag. Returns value. */
KIV_API int32_t kiv_thread_finish(KIV_MANAGED_THREAD *record, int32_t value);

/** Finishes as kiv_thread_finish does and ends the calling thread with value as its exit code; does not return. In
 * single-thread mode, where that ends the only thread, it first leaves "Executing kiv_thread_exit in single_thread
 * mode" in the thread message buffer. (The process's exit status is then value on Windows and 0 elsewhere.) */
KIV_API KIV_NORETURN void kiv_thread_exit(KIV_MANAGED_THREAD *record, int32_t value);

/** The running flag. All that the thread wrote before it finished is visible once this gives 0. */
KIV_API uint32_t kiv_thread_is_running(KIV_MANAGED_THREAD *record);

/** While the thread runs: its running flag (non-zero), *value unchanged. Afterwards: 0 and the return value. */
KIV_API uint32_t kiv_thread_return_value(KIV_MANAGED_THREAD *record, int32_t *value);

/** From now on kiv_thread_start runs entries on the calling thread. There is no way back. For debugging. */
KIV_API void kiv_thread_set_single_thread_mode(void);

/* --- Bare threads ------------------------------------------------------------------------------------------------ */

typedef struct KIV_THREAD {
  uint32_t id;
  void *handle;
} KIV_THREAD;

/** Starts a thread that runs entry(argument) and stores its id and handle in *thread, before entry
 * runs. 0; 1 when the system cannot create the thread, *thread is then unchanged. */
KIV_API int kiv_thread_new(KIV_THREAD *thread, KIV_THREAD_ROUTINE entry, void *argument);

/** Waits for the end of the thread and releases its handle. 0; 1 when the wait fails (a null handle, one joined before,
 * except on Windows the calling thread itself): the handle is then kept. The exit value is not returned. */
KIV_API int kiv_thread_join(KIV_THREAD thread);

/* --- The calling thread and the process -------------------------------------------------------------------------- */

KIV_API uint32_t kiv_thread_get_current_thread_id(void);

/** Sleeps at least that many milliseconds; 0 yields the processor, 0xFFFFFFFF sleeps forever. */
KIV_API void kiv_milli_sleep(uint32_t milliseconds);

/** Prints "TEXT: MESSAGE\n" to standard output, where MESSAGE is what the thread message buffer holds, and ends the
 * process with the exit code. */
KIV_API KIV_NORETURN void kiv_thread_die(const char *text, int exit_code);

/** Does nothing; called on load and unload of the Windows library. */
KIV_API void kiv_thread_init(void);

/* --- Thread-specific data ---------------------------------------------------------------------------------------- */

/** Stores a new key in *key; every thread's value for it is null. 0, or 1 with *key unchanged when there are no more.
 */
KIV_API int kiv_thread_specific_data_create_key(uint32_t *key);

/** Ends the key. Values are not released. 0, or 1 for a key that is not in use. */
KIV_API int kiv_thread_specific_data_destroy_key(uint32_t *key);

/** Sets the calling thread's value. 0, or 1 for a key that is not in use (Windows does not notice one that was
 * destroyed; here and in get_value). */
KIV_API int kiv_thread_specific_data_set_value(uint32_t *key, void *value);

/** The calling thread's value; null when it was not set or the key is not in use. */
KIV_API void *kiv_thread_specific_data_get_value(uint32_t *key);

/** The same on one key that the library keeps. Initialising it again begins anew with null values. Before the first
 * initialisation, and after it was destroyed, setting gives 1 and getting null. */
KIV_API int kiv_thread_specific_data_init_global_key(void);
KIV_API int kiv_thread_specific_data_destroy_global_key(void);
KIV_API int kiv_thread_specific_data_set_value_using_global_key(void *value);
KIV_API void *kiv_thread_specific_data_get_value_using_global_key(void);

/* --- Once -------------------------------------------------------------------------------------------------------- */

/** REQUIRES: two zeros at the start. Only kiv_thread_once touches them afterwards. */
typedef struct KIV_THREAD_ONCE {
  uint32_t started;
  uint32_t done;
} KIV_THREAD_ONCE;

/** The first caller runs function; every other one returns after function has returned, and sees what it wrote.
 * 0, or 1 when either argument is null. REQUIRES: function does not call kiv_thread_once on the same record. */
KIV_API int kiv_thread_once(KIV_THREAD_ONCE *once, void (*function)(void));

KIV_END_DECLARATIONS

#endif
