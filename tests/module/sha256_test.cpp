#include "module/sha256.h"

#include <gtest/gtest.h>

#include <string>

namespace tarvel {
namespace {

struct digest_case {
  const char *name;
  std::string bytes;
  const char *expected;  // of sha256sum
};

const digest_case digest_cases[] = {
    {"no bytes", "", "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855"},
    {"a word", "abc", "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"},
    {"the length just fits its block", std::string(55, 'a'),
     "9f4390f8d30c2dd92ec9f095b65e2b9ae9b0a925a5258e241c9f1e910f734318"},
    {"the length needs another block", std::string(56, 'a'),
     "b35439a4ac6f0948b6d6f9e3c6af0f5f590ce20f1bde7090ef7970686ec6738a"},
    {"a whole block", std::string(64, 'a'), "ffe054fe7ae0cb6dc65c3af9b61d5209f439851db43d0ba5997337df154668eb"},
    {"a million bytes", std::string(1'000'000, 'a'),
     "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0"},
};

TEST(sha256_test, gives_the_digests_of_other_programs) {
  for (const digest_case &c : digest_cases) {
    SCOPED_TRACE(c.name);
    EXPECT_STREQ(sha256_of(c.bytes).text, c.expected);
  }
}

}  // namespace
}  // namespace tarvel
