/** @file
 * Entry points that only do something in builds with profiling or debugging support. In this library they are fixed;
 * they exist so that programs built for either kind of library link. Only the two that free look at an argument. */
#ifndef KIV_STUBS_H
#define KIV_STUBS_H

#include "kiv_types.h"

KIV_BEGIN_DECLARATIONS

/** Always 0: one function under five names. */
KIV_API int kiv_common_built_with_debug(void);
KIV_API int kiv_templockfile(void);
KIV_API int kiv_dev_profiling_mc_get_address(void);
KIV_API int kiv_dev_profiling_mc_get_results(void);
/** The assertion hook: 0 means that an internal check which failed reports and carries on. Programs put another one in
 * its place with kiv_debug_heap_set_hook. */
KIV_API int kiv_assert_box_win32(int line, const char *file, const char *message);

/** Always 1; one function with the kiv_mutex_assert_* pair and kiv_socket_host_supports_tcp_nodelay. */
KIV_API int kiv_dev_profiling_mc_init(void);

/** Nothing; one function with kiv_thread_init. */
KIV_API void kiv_profile_gmon_fix_before_exit(void);
KIV_API void kiv_dev_profiling_mc_terminate(void);
KIV_API void kiv_dev_profiling_thread_start(void);

/** The C runtime's free: one function under two names. */
KIV_API void kiv_ipc_free(void *block);
KIV_API void kiv_dev_profiling_mc_get_results_dealloc(void *block);

KIV_END_DECLARATIONS

#endif
