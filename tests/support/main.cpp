// main of every test. A failure begins with the name of its row in a table, which gtest prints last.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>

namespace {

class row_names : public testing::EmptyTestEventListener {
  // The names of the scopes around the failure, the outermost first: their lines are "file:line: name".
  void OnTestPartResult(const testing::TestPartResult &result) override {
    const std::string message = result.message();
    const std::string heading = "Google Test trace:\n";
    std::size_t line = message.rfind(heading);
    if (!result.failed() || line == std::string::npos) return;
    std::string names;
    for (line += heading.size(); line < message.size(); line = message.find('\n', line) + 1) {
      const std::size_t name = message.find(": ", line) + 2;
      const std::size_t end = message.find('\n', line);
      names.insert(0, message.substr(name, end - name) + (names.empty() ? "" : ", "));
      if (end == std::string::npos) break;
    }
    std::printf("In %s:\n", names.c_str());
  }
};

}  // namespace

int main(int argc, char *argv[]) {
  testing::InitGoogleTest(&argc, argv);
  testing::TestEventListeners &listeners = testing::UnitTest::GetInstance()->listeners();
  testing::TestEventListener *const printer = listeners.Release(listeners.default_result_printer());
  listeners.Append(new row_names);  // listeners are called in this order
  listeners.Append(printer);
  return RUN_ALL_TESTS();
}
