// An environment variable for the duration of a test.
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
      ::setenv(name.c_str(), value->c_str(), 1);
    } else {
      ::unsetenv(name.c_str());
    }
  }

  std::string name;
  std::optional<std::string> before;
};

}  // namespace test
