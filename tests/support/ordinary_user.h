// For tests of file permissions, which do not apply to root.
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

namespace tarvel {

// Changes the effective user from root to an ordinary user for the duration of the test.
class ordinary_user {
 public:
  ordinary_user() : is_root_(geteuid() == 0) {
    if (is_root_ && seteuid(65534) != 0) ADD_FAILURE() << "cannot become an ordinary user";
  }
  ~ordinary_user() {
    if (is_root_ && seteuid(0) != 0) ADD_FAILURE() << "cannot become root again";
  }
  ordinary_user(const ordinary_user &) = delete;
  ordinary_user &operator=(const ordinary_user &) = delete;

 private:
  bool is_root_;
};

}  // namespace tarvel
