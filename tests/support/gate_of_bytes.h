// A course from the bytes of its file.
#pragma once

#include <string_view>

#include "gate/gate_open.h"
#include "support/files.h"
#include "support/warnings.h"

namespace tarvel {

// The name of the file is walk.csv. The log and the warnings are not filled when their pointers are null.
[[nodiscard]] inline owned_record<gate> gate_of_bytes(std::string_view bytes, owned_text *log, error_slot *error,
                                                      text_buffer *warnings = nullptr) {
  warning_buffer unread;
  text_buffer &used = unread;
  return gate_open(open_bytes(bytes).get(), "walk.csv", warnings != nullptr ? *warnings : used, log, error);
}

}  // namespace tarvel
