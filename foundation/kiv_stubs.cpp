// The fixed entry points: three functions under many names, and the C runtime's free under two.

#include "kiv_stubs.h"

#include "base/alias.h"
#include "kiv_mutex.h"
#include "kiv_process.h"
#include "kiv_prq.h"
#include "kiv_socket.h"
#include "kiv_thread.h"
#include "os/platform.h"

int kiv_common_built_with_debug(void) { return 0; }
KIV_ALIAS(kiv_assert_box_win32, kiv_common_built_with_debug);
KIV_ALIAS(kiv_templockfile, kiv_common_built_with_debug);
KIV_ALIAS(kiv_dev_profiling_mc_get_address, kiv_common_built_with_debug);
KIV_ALIAS(kiv_dev_profiling_mc_get_results, kiv_common_built_with_debug);

int kiv_dev_profiling_mc_init(void) { return 1; }
KIV_ALIAS(kiv_mutex_assert_is_locked_by_my_thread, kiv_dev_profiling_mc_init);
KIV_ALIAS(kiv_mutex_assert_is_not_locked_by_my_thread, kiv_dev_profiling_mc_init);
KIV_ALIAS(kiv_socket_host_supports_tcp_nodelay, kiv_dev_profiling_mc_init);

void kiv_thread_init(void) {}
KIV_ALIAS(kiv_process_init, kiv_thread_init);
KIV_ALIAS(kiv_process_finish, kiv_thread_init);
KIV_ALIAS(kiv_prq_integrity_check, kiv_thread_init);
KIV_ALIAS(kiv_profile_gmon_fix_before_exit, kiv_thread_init);
KIV_ALIAS(kiv_dev_profiling_mc_terminate, kiv_thread_init);
KIV_ALIAS(kiv_dev_profiling_thread_start, kiv_thread_init);

void kiv_ipc_free(void *block) { kiv::os::heap_free(block); }
KIV_ALIAS(kiv_dev_profiling_mc_get_results_dealloc, kiv_ipc_free);
