#include "helpers/guard.h"

#include <boost/exception/diagnostic_information.hpp>
#include <exception>
#include <string>
#include <utility>

#include "helpers/logger.h"
#include "platform/wire/failure.h"

namespace helpers {

namespace {

/// The current exception, in the text form for its type.
std::string text_of_current_exception(after_logging next, const std::source_location& where) {
  const auto* function = where.function_name();
  const auto line = where.line();
  const auto found = nx::current_failure();
  switch (found.from) {
    case nx::failure::kind::refused:
      return fmt::format("nx_error, function {}, line {}: {} ", function, line, found.message);
    case nx::failure::kind::device:
      return fmt::format("nx_client_exception, function {}, line {}: {}", function, line,
                         found.message);
    case nx::failure::kind::store:
      return fmt::format("kvs_client_exception, function {}, line {}: {}", function, line,
                         found.message);
    case nx::failure::kind::conversion:
    case nx::failure::kind::foreign:
      break;
  }
  const auto text = boost::current_exception_diagnostic_information(true);
  return fmt::format("general exception: {}{}", text,
                     next == after_logging::throws_on ? ", throwing" : "");
}

thread_local std::string last_failure;

void log_failure(const std::string& text, const std::source_location& where) {
  logger::log(2, where.file_name(), static_cast<int>(where.line()), where.function_name(), "{}",
              text);
}

}  // namespace

void log_current_exception(after_logging next, const std::source_location& where) {
  last_failure = current_exception_text();
  log_failure(text_of_current_exception(next, where), where);
}

std::string take_last_failure() {
  return std::exchange(last_failure, {});
}

void walk_guard::throw_if_all_failed(std::size_t turns) const {
  if (failures_ > 0 && failures_ == turns) std::rethrow_exception(first_);
}

void walk_guard::take_current_exception() {
  ++failures_;
  first_ = first_ ? first_ : std::current_exception();
  last_failure = current_exception_text();
  const auto text = text_of_current_exception(after_logging::stops, where_);
  if (logged_.insert(text).second) log_failure(text, where_);
}

std::string current_exception_text() {
  return nx::current_failure().message;
}

}  // namespace helpers
