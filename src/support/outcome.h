// What a reader made of a stream.
#pragma once

namespace tarvel {

// The error slot is set unless done. Another reader may try a stream that is not of this form. Stop after unreadable
// and no_memory: a later reader's message would hide them.
enum class outcome {
  done,
  not_this_form,  // the bytes were read and are something else
  unreadable,     // an I/O error
  no_memory,
};

}  // namespace tarvel
