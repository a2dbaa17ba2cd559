#include "platform/note_log/note_log.h"

#include <fmt/format.h>

#include <boost/log/attributes/attribute_value_impl.hpp>
#include <boost/log/attributes/value_extraction.hpp>
#include <boost/log/core.hpp>
#include <boost/log/keywords/channel.hpp>
#include <boost/log/keywords/severity.hpp>
#include <boost/log/sinks/sync_frontend.hpp>
#include <boost/make_shared.hpp>
#include <cstdlib>
#include <mutex>

#include "platform/note_log/stderr_sink.h"

namespace note_log {

namespace {

using frontend = boost::log::sinks::synchronous_sink<stderr_sink>;

frontend& sink() {
  static const auto installed = [] {
    auto created = boost::make_shared<frontend>();
    boost::log::core::get()->add_sink(created);
    return created;
  }();
  return *installed;
}

/// Lowest severity that passes. The numbers fall as the severity rises.
severity_level lowest_severity() {
  const char* setting = std::getenv("NOTE_LOG_SEVERITY");
  if (setting == nullptr) return info;
  for (const auto level : {error, warning, info, debug}) {
    if (severity_word(level) == setting) return level;
  }
  return info;
}

bool trace_wanted() {
  const char* setting = std::getenv("NOTE_LOG_TRACE");
  return setting != nullptr && std::string(setting) == "1";
}

}  // namespace

std::string getCodeTrace(const std::string& file, unsigned line) {
  return fmt::format(" [at {}:{}]", file, line);
}

void configure_from_environment() {
  sink().locked_backend()->set_style({stderr_is_journal(), trace_wanted()});
  const auto lowest = lowest_severity();
  boost::log::core::get()->set_filter([lowest](const boost::log::attribute_value_set& values) {
    const auto severity = boost::log::extract<severity_level>("Severity", values);
    return !severity || *severity <= lowest;
  });
}

std::string severity_fault() {
  const char* setting = std::getenv("NOTE_LOG_SEVERITY");
  if (setting == nullptr) return {};
  for (const auto level : {error, warning, info, debug}) {
    if (severity_word(level) == setting) return {};
  }
  return fmt::format(
      "NOTE_LOG_SEVERITY is '{}', which is no severity: error, warning, info and debug are; info "
      "counts meanwhile",
      setting);
}

boost::log::record open_record(severity_level severity, const std::string& channel,
                               const std::string& subject, folding folds) {
  namespace keywords = boost::log::keywords;
  // A logger for each call: two threads must not set the channel of a shared one.
  auto logger = note_log_slg::construct_logger();
  auto record = logger.open_record((keywords::channel = channel, keywords::severity = severity));
  if (record && !subject.empty()) {
    record.attribute_values().insert("Subject",
                                     boost::log::attributes::make_attribute_value(subject));
  }
  if (record && folds != folding::none) {
    record.attribute_values().insert("Folding",
                                     boost::log::attributes::make_attribute_value(folds));
  }
  return record;
}

void push_record(boost::log::record&& record, const std::string& text) {
  boost::log::record_ostream stream(record);
  stream << text;
  stream.flush();
  boost::log::core::get()->push_record(std::move(record));
}

void write(severity_level severity, const std::string& channel, const std::string& text,
           folding folds) {
  if (auto opened = open_record(severity, channel, {}, folds)) push_record(std::move(opened), text);
}

void set_observer(std::function<void(const record&)> observer) {
  note_log_slg::construct_logger();  // the library is set up before anything is watched
  sink().locked_backend()->set_observer(std::move(observer));
}

void flush() {
  sink().flush();
}

}  // namespace note_log

BOOST_LOG_GLOBAL_LOGGER_INIT(note_log_slg, note_log::logger_t) {
  static std::once_flag set_up;
  std::call_once(set_up, note_log::configure_from_environment);
  return note_log::logger_t();
}
