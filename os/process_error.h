// The system's text for the last process call that failed, one for the process: kiv_process_error_text().
#ifndef KIV_OS_PROCESS_ERROR_H
#define KIV_OS_PROCESS_ERROR_H

namespace kiv {

/// Keeps the system's text for this thread's last failed call, in place of the one before.
void keep_process_error();

}  // namespace kiv

#endif
