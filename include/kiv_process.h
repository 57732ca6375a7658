/** @file
 * Processes: starting, awaiting and ending them.
 *
 *     const char *argv[] = {"compiler", "-o", "a file", NULL};
 *     KIV_PROCESS process;
 *     if (kiv_process_start(argv, &process, "compiler.log", NULL, KIV_PROCESS_HIDDEN) == 0) kiv_process_wait(&process);
 *
 * A process that was started is to be waited for once, as a block is freed once: until then the record holds a handle
 * and the system keeps what is left of an ended process. Nobody needs to wait for one that was started detached
 * without asking for its handle.
 *
 * Failures: 1 from the functions that start, -1 from those that wait. kiv_process_error_text gives the system's reason.
 * A null record fails without one, and nothing is started.
 *
 * Differences between the systems:
 *
 * |                       | Windows                                        | elsewhere                              |
 * |-----------------------|------------------------------------------------|----------------------------------------|
 * | arguments             | joined to one line, which the program takes    | reach the program as they are          |
 * |                       | apart: see kiv_process_start                   |                                        |
 * | program               | argv[0], looked for as CreateProcess does      | argv[0], looked for along PATH         |
 * | mode                  | console and window                             | no meaning, ignored                    |
 * | inherited by it       | every inheritable handle                       | standard input, output and error only, |
 * |                       |                                                | no blocked signal, SIGPIPE not ignored |
 * | handle                | a process handle                               | of this library only                   |
 *
 * Thread safety: any thread may call any function; a record belongs to one thread at a time. */
#ifndef KIV_PROCESS_H
#define KIV_PROCESS_H

#include "kiv_types.h"

KIV_BEGIN_DECLARATIONS

typedef struct KIV_PROCESS {
  uint32_t id;  /**< KIV_PROCESS_NO_ID when unset */
  void *handle; /**< null when none is held */
} KIV_PROCESS;

#define KIV_PROCESS_NO_ID 0xFFFFFFFFu

/** How a console program shows itself. Any other value: in the console of its parent. */
enum {
  KIV_PROCESS_HIDDEN = 0,     /**< no console, window hidden */
  KIV_PROCESS_CONSOLE = 1,    /**< a new console in a normal window */
  KIV_PROCESS_MINIMISED = 2,  /**< a new console, minimised and not activated */
  KIV_PROCESS_NO_CONSOLE = 3, /**< no console; its windows as it likes */
  KIV_PROCESS_SHARED = 4      /**< in the console of its parent */
};

/** Starts the program argv[0] with these arguments, the parent's environment and its working directory. argv ends with
 * a null pointer. With an output file, which is created or emptied, the program writes its standard output and error
 * there, and has the parent's standard input; null leaves all three as the parent's. `unused` is ignored.
 *
 * 0, and the process in *process; or 1 when the file cannot be made, or the program cannot be started: *process then
 * has no id and no handle.
 *
 * On Windows each argument is put between double quotes, with three for every double quote in it, and nothing else is
 * escaped. Arguments without double quotes or a backslash at the end arrive in every program. The three arrive as one
 * in programs that use CommandLineToArgvW or a C runtime from before 2008; later ones read them differently. */
KIV_API int kiv_process_start(const char *const *argv, KIV_PROCESS *process, const char *output_file, void *unused,
                              uint32_t mode);

/** The same, with id and handle stored separately; either pointer may be null. On failure they hold KIV_PROCESS_NO_ID
 * and null.
 *
 * With a handle the caller waits, through a record of both. Without one the process is nobody's: nothing of it is left
 * when it ends. (Elsewhere than on Windows it is not a child of this process, either; but a caller that is process 1 of
 * a container, or a subreaper, gets it back as a child and has to reap it.) While it runs, it can be waited for or
 * killed by its id. */
KIV_API int kiv_process_start_detached(const char *const *argv, const char *output_file, void *unused, uint32_t mode,
                                       uint32_t *out_id, void **out_handle);

/** Waits until the process has ended. With a handle: the handle is closed and cleared. Without one: for the process
 * that has this id now, which need not be a child. Signals do not end the wait.
 *
 * 0; -1 when no process has the id (any more) or it must not be waited for. The exit code is not reported. */
KIV_API int kiv_process_wait(KIV_PROCESS *process);

/** Ends the process, without asking it (exit code 1 on Windows, SIGKILL elsewhere), and waits as kiv_process_wait does.
 * -1, too, when it cannot be ended: it is then not waited for, and the handle is kept. A child that has ended but was
 * not waited for counts as one that can be ended, except on Windows. */
KIV_API int kiv_process_kill_and_wait(KIV_PROCESS *process);

/** The id of this process. */
KIV_API uint32_t kiv_process_get_pid(void);

/** Ends this process as the C runtime's exit does. */
KIV_API KIV_NORETURN void kiv_exit(int code);

/** Copies the system's text for the last call above that failed in this process, cut to size - 1 bytes and terminated.
 * Gives the length of the whole text; 0 and "" before any failure, and when there was no memory to keep it. A null
 * buffer of size 0 asks for the length. */
KIV_API uint32_t kiv_process_error_text(char *buffer, uint32_t size);

/** Do nothing; one function with kiv_thread_init. */
KIV_API void kiv_process_init(void);
KIV_API void kiv_process_finish(void);

KIV_END_DECLARATIONS

#endif
