#include "tools/lab/tree_link.h"

#include <fmt/format.h>
#include <rapidjson/document.h>

#include "platform/nexel_client/line_client.h"
#include "platform/wire/nx_client_exception.h"
#include "platform/wire/nx_error.h"
#include "tools/common/value_text.h"

namespace tools::lab {

namespace {

// If a tree takes longer than this, its last values are shown; the screen must not freeze.
constexpr std::chrono::milliseconds patience{1000};

}  // namespace

tree_link::tree_link(std::string socket_path) : socket_path_(std::move(socket_path)) {}
tree_link::~tree_link() = default;

bool tree_link::call(const std::string& method, const std::string& params,
                     nx::json_document& result) {
  try {
    if (!client_) client_ = nx::line_client::connect_unix(socket_path_);
    result = client_->call(method, params, patience);
    return true;
  } catch (const nx_client_exception& error) {
    if (error.code == nx_error::not_connected) client_.reset();
    refusal_ = fmt::format("{} {}", error.code, error.message);
    return false;
  }
}

bool tree_link::reachable() {
  nx::json_document result;
  return call("list", R"({"path":""})", result);
}

bool tree_link::knows(const std::string& path) {
  nx::json_document result;
  return call("info", fmt::format(R"({{"path":{}}})", quoted(path)), result) &&
         result.HasMember(path.c_str());
}

bool tree_link::read(const std::string& pattern, readings& into, const std::string& prefix) {
  nx::json_document result;
  if (!call("get", fmt::format(R"({{"path":{}}})", quoted(pattern)), result)) return false;
  into.put_all(result, prefix);
  return true;
}

std::vector<std::string> tree_link::history(const std::string& path) {
  nx::json_document result;
  std::vector<std::string> texts;
  if (!call("history", fmt::format(R"({{"path":{}}})", quoted(path)), result)) return texts;
  for (const auto& member : result.GetObject()) {
    for (const auto& entry : member.value.GetArray()) {
      if (entry["value"].IsString()) texts.emplace_back(entry["value"].GetString());
    }
  }
  return texts;
}

bool tree_link::write(const std::string& path, const std::string& value) {
  nx::json_document result;
  return call("set", fmt::format(R"({{"path":{},"value":{}}})", quoted(path), value), result);
}

}  // namespace tools::lab
