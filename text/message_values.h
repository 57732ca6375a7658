// Arguments of messages, printed by the type and format of a placeholder.
#ifndef KIV_TEXT_MESSAGE_VALUES_H
#define KIV_TEXT_MESSAGE_VALUES_H

#include "text/message_output.h"
#include "text/message_syntax.h"

namespace kiv::message {

/// Appends the argument. False when there is no room.
bool append_argument(Output *output, const Placeholder &placeholder, const void *word);

/// Whether a number equals 1 in its own type.
bool is_one(TypeCode code, const void *word);

}  // namespace kiv::message

#endif
