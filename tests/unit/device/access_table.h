// Tables of a proxy's operations: which path each one reads or writes, and what it makes of it.
#pragma once

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "nexel.h"

namespace device_test {

/// The operation reads the one path, whose value is given as JSON text.
template <class Device>
struct read_row {
  const char* path;
  const char* json;
  std::function<std::string(Device&)> read;
  const char* expected;
};

template <class Device, class Make>
void expect_reads(Make make, const std::vector<read_row<Device>>& rows) {
  for (const auto& row : rows) {
    SCOPED_TRACE(row.path);
    nexel served;
    served.value(row.path, row.json);
    const auto proxy = make();
    std::string result;
    EXPECT_EQ(failure_of([&] { result = row.read(*proxy); }), "");
    EXPECT_EQ(result, row.expected);
    EXPECT_THAT(served.take_accesses(), testing::ElementsAre(std::string("get ") + row.path));
  }
}

/// The operation makes these accesses, in this order. Commands, which are run, answer with true.
template <class Device>
struct write_row {
  std::function<void(Device&)> write;
  std::vector<std::string> accesses;
  const char* refused = nullptr;  ///< the error when commands answer with false
};

template <class Device>
std::string write_failure(Device& proxy, nexel& served, const write_row<Device>& row,
                          const char* answer) {
  for (const auto& access : row.accesses) {
    const auto path = access.substr(4, access.find(' ', 4) - 4);
    if (access.rfind("run ", 0) == 0) {
      served.command(path, answer);
    } else {
      served.value(path, "null");
    }
  }
  return failure_of([&] { row.write(proxy); });
}

template <class Device, class Make>
void expect_writes(Make make, const std::vector<write_row<Device>>& rows) {
  for (const auto& row : rows) {
    SCOPED_TRACE(row.accesses.front());
    nexel served;
    const auto proxy = make();
    EXPECT_EQ(write_failure(*proxy, served, row, "true"), "");
    EXPECT_EQ(served.take_accesses(), row.accesses);
    if (row.refused != nullptr) {
      EXPECT_EQ(write_failure(*proxy, served, row, "false"), row.refused);
    }
  }
}

/// Makes a proxy of the nexel.
template <class Device, class... Arguments>
auto maker(Arguments... arguments) {
  return [arguments...] { return std::make_shared<Device>(nullptr, nexel::address, arguments...); };
}

template <class T>
std::string text(const T& value) {
  return fmt::format("{}", value);
}

}  // namespace device_test
