// Codes for messages, which stay the same when the words of a message change.
#pragma once

#include "support/error_slot.h"

namespace tarvel {

// The code of a message that a run can fail with, such as "no-rollout"; "other" for any other message.
[[nodiscard]] const char *failure_code(error_slot message);

}  // namespace tarvel
