#include "tests/support/recording_session.h"

#include <rapidjson/document.h>

#include "platform/wire/json_conversion.h"

namespace test {

void recording_session::deliver(nx_event_ptr event, nx_subscription_number, bool first) {
  const auto message = nx::parse_json(event->lines);
  const auto& params = message["params"];
  auto text = (first ? "first " : "") + std::string(params["path"].GetString());
  if (params.HasMember("error")) {
    const auto& error = params["error"];
    text += " ! " + nx::json_text(error["code"]) + " " + error["message"].GetString();
  } else {
    text += " = " + nx::json_text(params["value"]);
  }
  keep(text);
}

}  // namespace test
