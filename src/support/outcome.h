// The result of a reader.
#pragma once

namespace tarvel {

// The error slot is set unless the outcome is done. After not_this_form another reader may try the stream. Stop after
// unreadable and no_memory: a later reader's message would hide the error.
enum class outcome {
  done,
  not_this_form,  // the stream was read and has another format
  unreadable,     // an I/O error
  no_memory,
};

}  // namespace tarvel
