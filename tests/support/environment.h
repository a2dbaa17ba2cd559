// An environment variable for the duration of a test, set and unset while the test has no other
// thread that asks for one.
#pragma once

#include <cstdlib>
#include <optional>
#include <string>

namespace test {

class environment_variable {
 public:
  /// Empty: the variable is unset.
  environment_variable(std::string variable, const std::optional<std::string>& value)
      : name(std::move(variable)) {
    if (const char* present = std::getenv(name.c_str())) before = present;
    apply(value);
  }
  ~environment_variable() { apply(before); }
  environment_variable(const environment_variable&) = delete;
  environment_variable& operator=(const environment_variable&) = delete;

 private:
  void apply(const std::optional<std::string>& value) const {
    if (value) {
      ::setenv(name.c_str(), value->c_str(), 1);  // NOLINT(concurrency-mt-unsafe): see above
    } else {
      ::unsetenv(name.c_str());  // NOLINT(concurrency-mt-unsafe): see above
    }
  }

  std::string name;
  std::optional<std::string> before;
};

}  // namespace test
