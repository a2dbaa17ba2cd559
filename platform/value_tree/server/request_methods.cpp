#include "platform/value_tree/server/request_methods.h"

#include <array>

#include "platform/value_tree/event_frame.h"
#include "platform/value_tree/nx_db.h"
#include "platform/wire/failure.h"
#include "platform/wire/json_conversion.h"
#include "platform/wire/json_parse.h"
#include "platform/wire/json_rpc.h"
#include "platform/wire/json_text.h"

namespace nx {
namespace {

void add_member(const request_call& call, const std::string& path, json_value value) {
  call.result.AddMember(to_json(path, call.allocator), value, call.allocator);
}

// Checks whether to continue, each time this many members have been added.
class member_count {
 public:
  explicit member_count(const request_call& call) : call_(call) {}
  void next() {
    constexpr unsigned stride = 64;
    if (++count_ % stride == 0) call_.check();
  }

 private:
  const request_call& call_;
  unsigned count_ = 0;
};

// The members of one object as text, one at a time.
class member_writer {
 public:
  explicit member_writer(std::string& out) : out_(out), first_(out.size()) {}

  void add(const request_call& call, const std::string& path, nx_db_leaf_node& node) {
    const auto start = out_.size();
    begin(path);
    if (node.append_text(out_)) return;
    out_.resize(start);
    json_value members(rapidjson::kObjectType);
    node.get(path, call.allocator, members);
    for (const auto& member : members.GetObject()) {
      begin({member.name.GetString(), member.name.GetStringLength()});
      append_json_text(out_, member.value);
    }
  }

  // A value that cannot be read appears among the others as its error.
  void add_or_tell(const request_call& call, const std::string& path, nx_db_leaf_node& node) {
    const auto start = out_.size();
    try {
      add(call, path, node);
    } catch (...) {
      const auto error = current_node_error();
      out_.resize(start);
      begin(path);
      out_ += R"({"error":)";
      json_rpc::append_error_object(out_, error);
      out_ += '}';
    }
  }

  std::size_t bytes() const { return out_.size() - first_; }

 private:
  void begin(std::string_view name) {
    if (out_.size() > first_) out_ += ',';
    append_json_string(out_, name);
    out_ += ':';
  }

  std::string& out_;
  const std::size_t first_;
};

void add_info(const request_call& call, const std::string& path, const nx_db_leaf_node& node) {
  add_member(call, path, node.get_info(call.allocator));
}

}  // namespace

void request_call::check() const {
  if (allocator.Size() > most_bytes) throw answer_too_long();
  if (subscriptions != nullptr && subscriptions->is_gone()) throw client_gone_error();
}

nx_error client_gone_error() {
  constexpr std::int32_t connection_reset = -104;
  return {connection_reset, "The client has gone"};
}

nx_db_leaf_node& request_handler::request::node() const {
  if (nodes.empty()) throw nx_error(nx_error::not_found, "No such path: " + path);
  return *nodes.front();
}

const json_value& request_handler::request::param(const char* name) const {
  const auto member = params->FindMember(name);
  if (member == params->MemberEnd()) {
    throw nx_error(json_rpc::invalid_params,
                   std::string("Invalid params: \"") + name + "\" is missing beside \"path\"");
  }
  return member->value;
}

const request_handler::method& request_handler::methods::find(std::string_view name) {
  static constexpr std::array<method, 9> table{{
      {.name = "get",
       .execute = nullptr,
       .append = get,
       .takes_pattern = true,
       .reads_value = true},
      {.name = "set", .execute = set, .writes = true},
      {.name = "run", .execute = run, .writes = true},
      {.name = "reset", .execute = reset, .writes = true},
      {.name = "subscribe",
       .execute = nullptr,
       .append = subscribe,
       .subscribes = true,
       .takes_pattern = true,
       .reads_value = true},
      {.name = "unsubscribe", .execute = unsubscribe, .takes_pattern = true},
      {.name = "info", .execute = info, .takes_pattern = true},
      {.name = "list", .execute = list, .lists = true},
      {.name = "history", .execute = history},
  }};
  for (const auto& known : table) {
    if (known.name == name) return known;
  }
  std::string names;
  for (const auto& known : table)
    names += (names.empty() ? "" : ", ") + std::string(known.name);
  throw nx_error(json_rpc::unknown_method,
                 "No such method: " + std::string(name) + "; there are " + names);
}

void request_handler::methods::get(const request& asked, const request_call& call,
                                   std::string& out) {
  out += '{';
  member_writer values(out);
  if (asked.is_pattern) {
    member_count members(call);
    for (const auto& node : asked.nodes) {
      members.next();
      if (values.bytes() > request_call::most_bytes) throw answer_too_long();
      values.add_or_tell(call, node->path(), *node);
    }
  } else {
    values.add(call, asked.path, asked.node());
  }
  out += '}';
}

void request_handler::methods::set(const request& asked, const request_call& call) {
  auto& node = asked.node();
  const auto& value = asked.param("value");
  check_strings(value);
  if (node.write_returns_response()) {
    node.run(asked.path, value, call.allocator, call.result);
  } else {
    node.set(asked.path, value);
  }
}

void request_handler::methods::run(const request& asked, const request_call& call) {
  auto& node = asked.node();
  const auto& args = asked.param("args");
  check_strings(args);
  node.run(asked.path, args, call.allocator, call.result);
}

void request_handler::methods::reset(const request& asked, const request_call&) {
  asked.node().reset();
}

void request_handler::methods::subscribe(const request& asked, const request_call& call,
                                         std::string& out) {
  if (!asked.is_pattern) asked.node();
  if (call.subscriptions == nullptr)
    throw nx_error(nx_error::invalid, "Not subscribable: " + asked.path);
  out += '{';
  call.subscriptions->subscribe(asked.path, call.allocator, out);
  out += '}';
}

void request_handler::methods::unsubscribe(const request& asked, const request_call& call) {
  if (!asked.is_pattern) asked.node();
  if (call.subscriptions != nullptr) call.subscriptions->unsubscribe(asked.path);
}

void request_handler::methods::info(const request& asked, const request_call& call) {
  if (!asked.is_pattern) return add_info(call, asked.path, asked.node());
  member_count members(call);
  for (const auto& node : asked.nodes) {
    members.next();
    add_info(call, node->get_path(0), *node);
  }
}

void request_handler::methods::list(const request& asked, const request_call& call) {
  const auto recursive = asked.params->FindMember("recursive");
  const bool asks = recursive != asked.params->MemberEnd();
  if (asks && !recursive->value.IsBool()) {
    throw nx_error(json_rpc::invalid_params, "Invalid params: \"recursive\" must be true or false");
  }
  const bool whole = asks && recursive->value.GetBool();
  json_value names(rapidjson::kArrayType);
  for (const auto& name : call.db.list(asked.path, whole)) {
    names.PushBack(to_json(name, call.allocator), call.allocator);
  }
  add_member(call, asked.path, std::move(names));
}

void request_handler::methods::history(const request& asked, const request_call& call) {
  json_value entries(rapidjson::kArrayType);
  for (const auto& entry : call.db.history(asked.path)) {
    json_document value(&call.allocator);
    parse_json_into(value, entry.value);
    json_value shown(rapidjson::kObjectType);
    shown.AddMember("time", to_json(event_time(entry.time), call.allocator), call.allocator);
    shown.AddMember("value", static_cast<json_value&>(value), call.allocator);
    entries.PushBack(shown, call.allocator);
  }
  add_member(call, asked.path, std::move(entries));
}

}  // namespace nx
