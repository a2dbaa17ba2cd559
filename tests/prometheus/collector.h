// A Prometheus of the test's own that scrapes one gateway several times a second and evaluates the
// shipped rules each second. Asked over its HTTP interface; ends with the object.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/wire/json.h"
#include "tests/support/process.h"
#include "tests/support/temp_folder.h"

namespace test {

class collector {
 public:
  /// `target`: "127.0.0.1:9720"; `further`: members of its job, "scheme: https". Throws
  /// std::runtime_error when it does not start.
  explicit collector(const std::string& target, const std::string& further = {});

  /// "data" of the answer to GET /api/v1/WHAT with `parameter` (NAME=VALUE) if there is one.
  nx::json_document ask(const std::string& what, const std::string& parameter = {}) const;
  /// The only number that the query gives now; nothing without one.
  std::optional<double> number(const std::string& query) const;
  std::size_t series(const std::string& query) const;
  /// False when patience ends before the query gives this number alone, or nothing if there is
  /// none.
  bool gives(const std::string& query, std::optional<double> number) const;
  /// Values of the one series that the selector has had within the last hour.
  std::vector<double> samples(const std::string& selector) const;

 private:
  const temp_folder folder_;
  std::unique_ptr<process> prometheus_;
  std::string address_;
};

}  // namespace test
