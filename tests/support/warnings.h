// A buffer for the warnings of a reader. Create it before memory is limited.
#pragma once

#include <string>

#include "support/text_buffer.h"

namespace tarvel {

class warning_buffer {
 public:
  warning_buffer() : buffer_(text_buffer_create(&error_)) {}
  warning_buffer(const warning_buffer &) = delete;
  warning_buffer &operator=(const warning_buffer &) = delete;

  operator text_buffer &() { return buffer_; }
  [[nodiscard]] std::string text() const { return buffer_.data.get(); }

 private:
  error_slot error_ = nullptr;
  text_buffer buffer_;
};

}  // namespace tarvel
