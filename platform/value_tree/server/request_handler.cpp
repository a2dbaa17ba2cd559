#include "platform/value_tree/server/request_handler.h"

#include <fmt/format.h>
#include <rapidjson/document.h>

#include <algorithm>
#include <array>

#include "platform/value_tree/nx_db.h"
#include "platform/value_tree/server/node_errors.h"
#include "platform/value_tree/server/plain_get.h"
#include "platform/value_tree/server/request_methods.h"
#include "platform/wire/json_conversion.h"
#include "platform/wire/json_parse.h"
#include "platform/wire/json_rpc.h"
#include "platform/wire/limits.h"

namespace nx {
namespace {

// Memory of a request and its result, kept by each thread from request to request.
struct request_arena {
  alignas(std::max_align_t) std::array<char, 64 * 1024> buffer;
  json_allocator allocator{buffer.data(), buffer.size()};
  bool in_use = false;
};

// A node may ask another tree of this process while it is asked itself; the inner request then
// has memory of its own.
class arena_lease {
 public:
  arena_lease() : outer_(std::exchange(arena_.in_use, true)) {}
  ~arena_lease() {
    if (outer_) return;
    arena_.allocator.Clear();
    arena_.in_use = false;
  }
  arena_lease(const arena_lease&) = delete;
  arena_lease& operator=(const arena_lease&) = delete;

  json_allocator& allocator() { return outer_ ? own_ : arena_.allocator; }

 private:
  inline static thread_local request_arena arena_;
  bool outer_;
  json_allocator own_;
};

[[noreturn]] void refuse_request(const std::string& what) {
  throw nx_error(json_rpc::invalid_request, "Invalid request: " + what);
}

[[noreturn]] void refuse_params(const std::string& what) {
  throw nx_error(json_rpc::invalid_params, "Invalid params: " + what);
}

const json_value* find_member(const json_value& object, const char* name) {
  const auto member = object.FindMember(name);
  return member == object.MemberEnd() ? nullptr : &member->value;
}

bool is_valid_id(const json_value& id) {
  return id.IsString() || id.IsNumber() || id.IsNull();
}

// The id to answer under: null for a message that has none, or none that can be answered.
const json_value* id_of(const json_value& message) {
  if (!message.IsObject()) return nullptr;
  const auto* id = find_member(message, "id");
  return id != nullptr && is_valid_id(*id) ? id : nullptr;
}

// Memory and lines are limited; so is what one message can ask for.
bool too_long(const std::string& out, std::size_t start) {
  return out.size() - start > limits::output_bytes_per_session;
}

nx_error too_long_error() {
  return {json_rpc::invalid_request,
          fmt::format("Invalid request: its answer is longer than {} bytes",
                      limits::output_bytes_per_session)};
}

void check_frame(const json_value& message) {
  if (!message.IsObject()) {
    refuse_request(fmt::format("expected an object, found {}", json_type_name(message)));
  }
  const auto* version = find_member(message, "jsonrpc");
  if (version == nullptr || *version != "2.0") refuse_request("\"jsonrpc\" must be \"2.0\"");
  const auto* id = find_member(message, "id");
  if (id != nullptr && !is_valid_id(*id)) {
    refuse_request("\"id\" must be a string, a number or null");
  }
}

void check_batch(const json_value& batch) {
  if (batch.Empty()) refuse_request("the batch is empty");
  if (batch.Size() > limits::batch) {
    refuse_request(
        fmt::format("a batch of {}, the limit is {} requests", batch.Size(), limits::batch));
  }
}

}  // namespace

std::string request_handler::answer(std::string_view line) const {
  std::string out;
  answer_line(line, true, out);
  return out;
}

bool request_handler::answer_at_once(std::string_view line, std::string& out) const {
  return answer_line(line, false, out);
}

bool request_handler::answer_line(std::string_view line, bool may_wait, std::string& out) const {
  arena_lease lease;
  auto& allocator = lease.allocator();
  if (const auto get = read_plain_get(line)) {
    return answer_message(*get, may_wait, allocator, out);
  }
  json_document message(&allocator);
  try {
    if (std::vector<plain_get> gets; read_plain_gets(line, gets)) {
      return answer_batch(gets, may_wait, allocator, out);
    }
    parse_json_into(message, line);
    if (!message.IsArray()) return answer_message(message, may_wait, allocator, out);
    check_batch(message);
    return answer_batch(message.GetArray(), may_wait, allocator, out);
  } catch (const nx_error& fault) {
    json_rpc::append_error(out, json_value(), fault);
    return true;
  }
}

template <class Messages>
bool request_handler::answer_batch(const Messages& batch, bool may_wait, json_allocator& allocator,
                                   std::string& out) const {
  const auto waits = [this](const auto& message) { return message_may_wait(message); };
  if (!may_wait && std::any_of(batch.begin(), batch.end(), waits)) return false;
  const auto start = out.size();
  for (const auto& message : batch) {
    const auto before = out.size();
    out += before == start ? '[' : ',';
    answer_message(message, true, allocator, out);
    if (out.size() == before + 1) out.resize(before);  // a notification
    if (too_long(out, start)) {
      out.resize(start);
      throw too_long_error();
    }
  }
  if (out.size() > start) out += ']';
  return true;
}

bool request_handler::answer_message(const json_value& message, bool may_wait,
                                     json_allocator& allocator, std::string& out) const {
  return answer_one(message, id_of(message), may_wait, allocator, out);
}

bool request_handler::answer_message(const plain_get& message, bool may_wait,
                                     json_allocator& allocator, std::string& out) const {
  const json_value id(message.id);
  return answer_one(message, &id, may_wait, allocator, out);
}

template <class Message>
bool request_handler::answer_one(const Message& message, const json_value* id, bool may_wait,
                                 json_allocator& allocator, std::string& out) const {
  const auto start = out.size();
  try {
    const request asked = prepare(message);
    if (!may_wait && this->may_wait(asked)) return false;
    json_value result(rapidjson::kObjectType);
    execute(asked, allocator, result);
    if (id == nullptr) return true;
    json_rpc::append_result(out, *id, result);
    if (too_long(out, start)) throw too_long_error();
  } catch (...) {
    const nx_error error = current_node_error();
    out.resize(start);
    static const json_value no_id;
    const bool answered = id != nullptr || error.code == json_rpc::invalid_request;
    if (answered) json_rpc::append_error(out, id != nullptr ? *id : no_id, error);
  }
  return true;
}

request_handler::request request_handler::prepare(const json_value& message) const {
  check_frame(message);
  const auto* name = find_member(message, "method");
  if (name == nullptr || !name->IsString()) refuse_request("\"method\" must be a string");
  request asked;
  asked.asked = &methods::find({name->GetString(), name->GetStringLength()});
  asked.params = find_member(message, "params");
  if (asked.params == nullptr || !asked.params->IsObject()) {
    refuse_params("expected an object with a \"path\"");
  }
  const auto* path = find_member(*asked.params, "path");
  if (path == nullptr || !path->IsString()) refuse_params("\"path\" must be a string");
  asked.path.assign(path->GetString(), path->GetStringLength());
  asked.is_pattern = asked.asked->takes_pattern && nx_db::is_pattern(asked.path);
  if (asked.is_pattern) {
    asked.nodes = db_.match(asked.path);
  } else if (auto node = db_.find(asked.path)) {
    asked.nodes.push_back(std::move(node));
  }
  return asked;
}

request_handler::request request_handler::prepare(const plain_get& message) const {
  static const auto& get = methods::find("get");
  request asked;
  asked.asked = &get;
  asked.path = message.path;
  if (auto node = db_.find(asked.path)) asked.nodes.push_back(std::move(node));
  return asked;
}

bool request_handler::may_wait(const request& asked) const {
  if (asked.asked->writes) return rights_ == access::full;
  const auto waits = [](const auto& node) { return node->read_may_wait(); };
  return asked.asked->reads_value && std::any_of(asked.nodes.begin(), asked.nodes.end(), waits);
}

template <class Message>
bool request_handler::message_may_wait(const Message& message) const {
  try {
    return may_wait(prepare(message));
  } catch (const nx_error&) {
    return false;  // a fault is answered at once
  }
}

void request_handler::execute(const request& asked, json_allocator& allocator,
                              json_value& result) const {
  if (asked.asked->writes && rights_ == access::read_only) {
    throw nx_error(-13, "Read-only session");
  }
  asked.asked->execute(asked, {db_, subscriptions_, allocator, result});
}

}  // namespace nx
