// What a reader made of a stream.
#pragma once

namespace tarvel {

// The error slot is set unless done. Another reader may try a stream that has not this form; after the other two its
// message would hide the reason.
enum class outcome {
  done,
  not_this_form,  // the bytes are there, and are something else
  unreadable,     // the stream reports an error: its bytes are not known
  no_memory,
};

}  // namespace tarvel
