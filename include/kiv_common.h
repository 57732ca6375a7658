/** @file
 * All of the library. */
#ifndef KIV_COMMON_H
#define KIV_COMMON_H

#include "kiv_allocator.h"
#include "kiv_avl.h"
#include "kiv_bigflt.h"
#include "kiv_bigflt128.h"
#include "kiv_bigflt_convert.h"
#include "kiv_bigflt_dump.h"
#include "kiv_bigflt_text.h"
#include "kiv_bitops.h"
#include "kiv_debug_heap.h"
#include "kiv_error.h"
#include "kiv_hash.h"
#include "kiv_i18n.h"
#include "kiv_leb128.h"
#include "kiv_message.h"
#include "kiv_mutex.h"
#include "kiv_semaphore.h"
#include "kiv_socket.h"
#include "kiv_string.h"
#include "kiv_string_array.h"
#include "kiv_string_convert.h"
#include "kiv_string_kvset.h"
#include "kiv_string_number.h"
#include "kiv_string_pattern.h"
#include "kiv_stubs.h"
#include "kiv_target_word.h"
#include "kiv_thread.h"
#include "kiv_u128.h"
#include "kiv_uni.h"
#include "kiv_vsnprintf.h"

#endif
