#include "platform/value_tree/server/request_handler.h"

#include <fmt/format.h>
#include <rapidjson/document.h>

#include <algorithm>
#include <array>

#include "platform/value_tree/nx_db.h"
#include "platform/value_tree/server/plain_get.h"
#include "platform/value_tree/server/request_methods.h"
#include "platform/wire/failure.h"
#include "platform/wire/json_conversion.h"
#include "platform/wire/json_parse.h"
#include "platform/wire/json_rpc.h"
#include "platform/wire/limits.h"
#include "platform/wire/message_ids.h"

namespace nx {
namespace {

// Memory for a request and its result, kept by each thread from request to request.
struct request_arena {
  alignas(std::max_align_t) std::array<char, 64 * 1024> buffer;
  json_allocator allocator{buffer.data(), buffer.size()};
  bool in_use = false;
};

// A node may ask another tree in this process while it is being asked; the inner request then has
// separate memory.
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

// The id for the answer; a number is returned as it was written.
std::optional<std::string> id_of(const json_value& message, std::string_view number) {
  const auto* id = message.IsObject() ? find_member(message, "id") : nullptr;
  if (id == nullptr || !is_valid_id(*id)) return std::nullopt;
  return id->IsNumber() && !number.empty() ? std::string(number) : json_text(*id);
}

// Memory and lines are limited, and so is what one message can ask for.
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

// What remains for the answers of a batch. The first request that does not fit is refused, as is
// every later request that wants an answer: it is not carried out.
struct request_handler::batch_room {
  // A refusal: its frame and text, besides the id.
  static constexpr std::size_t refusal_bytes = 256;

  explicit batch_room(const std::vector<id_text>& ids) {
    for (const auto& id : ids)
      reserved += bytes_of(id);
  }

  void next(const id_text& id) { reserved -= bytes_of(id); }
  static std::size_t bytes_of(const id_text& id) { return refusal_bytes + (id ? id->size() : 0); }
  static nx_error refusal() {
    return {json_rpc::invalid_request,
            fmt::format("Invalid request: with its answer those of the batch are longer than {} "
                        "bytes",
                        limits::output_bytes_per_session)};
  }

  std::size_t reserved = 0;  // for refusals of the requests still to come
  std::size_t used = 0;
  bool refused = false;
};

std::string request_handler::answer(std::string_view line) const {
  std::string out;
  answer_within(effort::heavy, line, out);
  return out;
}

effort request_handler::answer_within(effort allowed, std::string_view line,
                                      std::string& out) const {
  constexpr std::size_t long_line = 32 * 1024;
  if (line.size() > long_line && allowed < effort::heavy) return effort::heavy;
  const auto get = read_plain_get(line);
  if (get && answer_plain(*get, out)) return effort::at_once;
  std::vector<plain_get> gets;
  const bool batch = !get && read_plain_gets(line, gets);
  const bool few = allowed == effort::heavy || gets.size() <= methods::few_messages;
  if (batch && few && answer_plain(gets, out)) return effort::at_once;
  arena_lease lease;
  auto& allocator = lease.allocator();
  try {
    if (get) return answer_one(*get, std::string(get->id), allowed, nullptr, allocator, out);
    if (!batch) return answer_messages(line, allowed, allocator, out);
    std::vector<id_text> ids;
    ids.reserve(gets.size());
    for (const auto& each : gets)
      ids.emplace_back(each.id);
    return answer_batch(gets, ids, allowed, allocator, out);
  } catch (const nx_error& fault) {
    json_rpc::append_error(out, "null", fault);
    return effort::at_once;
  }
}

effort request_handler::answer_messages(std::string_view line, effort allowed,
                                        json_allocator& allocator, std::string& out) const {
  json_document message(&allocator);
  const auto numbers = number_ids(line);
  if (some_are_long(numbers)) {
    parse_json_into(message, with_short_ids(line, numbers));
  } else {
    parse_json_into(message, line);
  }
  if (!message.IsArray()) {
    const json_value& only = message;
    const auto id = id_of(only, numbers.empty() ? std::string_view() : numbers.front());
    return answer_one(&only, id, allowed, nullptr, allocator, out);
  }
  check_batch(message);
  std::vector<const json_value*> batch;
  std::vector<id_text> ids;
  auto number = numbers.begin();
  for (const auto& element : message.GetArray()) {
    batch.push_back(&element);
    const bool numbered = element.IsObject() && number != numbers.end();
    ids.push_back(id_of(element, numbered ? *number++ : std::string_view()));
  }
  return answer_batch(batch, ids, allowed, allocator, out);
}

template <class Message>
effort request_handler::effort_of_batch(const std::vector<Message>& batch) const {
  constexpr unsigned few_patterns = 2;
  constexpr unsigned few_writes = 32;  // each causes an event for many sessions
  if (batch.size() > methods::few_messages) return effort::heavy;
  effort takes = effort::at_once;
  unsigned patterns = 0;
  unsigned writes = 0;
  for (const auto& message : batch) {
    try {
      const auto asked = prepare(message, effort::at_once);
      takes = std::max(takes, asked.takes);
      if (asked.is_pattern && ++patterns > few_patterns) return effort::heavy;
      if (asked.asked->writes && ++writes > few_writes) takes = std::max(takes, effort::waiting);
    } catch (const nx_error&) {
      // A faulty message is answered at once.
    }
    if (takes == effort::heavy) break;
  }
  return takes;
}

template <class Message>
effort request_handler::answer_batch(const std::vector<Message>& batch,
                                     const std::vector<id_text>& ids, effort allowed,
                                     json_allocator& allocator, std::string& out) const {
  if (allowed < effort::heavy) {
    const auto takes = effort_of_batch(batch);
    if (takes > allowed) return takes;
  }
  // Results are dropped once they are written: together they could take many times the size of
  // their text.
  constexpr std::size_t kept_bytes = 256 * 1024;
  json_allocator own;
  auto* results = &allocator;
  batch_room room(ids);
  const auto start = out.size();
  for (std::size_t i = 0; i < batch.size(); ++i) {
    const auto before = out.size();
    room.used = before - start;
    room.next(ids[i]);
    out += before == start ? '[' : ',';
    if (room.refused && ids[i]) {
      json_rpc::append_error(out, *ids[i], batch_room::refusal());
    } else {
      answer_one(batch[i], ids[i], effort::heavy, &room, *results, out);
    }
    if (results->Size() > kept_bytes) {
      own.Clear();
      results = &own;
    }
    if (out.size() == before + 1) out.resize(before);  // a notification
  }
  if (out.size() > start) out += ']';
  return effort::at_once;
}

template <class Message>
effort request_handler::answer_one(const Message& message, const id_text& id, effort allowed,
                                   batch_room* batch, json_allocator& allocator,
                                   std::string& out) const {
  const auto start = out.size();
  const auto refuse = [&](const nx_error& error) {
    out.resize(start);
    if (id || error.code == json_rpc::invalid_request) {
      json_rpc::append_error(out, id.value_or("null"), error);
    }
  };
  request asked;
  try {
    asked = prepare(message, allowed);
    if (asked.takes > allowed) return asked.takes;
    execute(asked, id.value_or(""), allocator, out);
    if (!id) out.resize(start);
    check_size(asked, id ? out.size() - start : 0, batch);
  } catch (const answer_too_long&) {
    if (asked.asked->subscribes && subscriptions_ != nullptr) subscriptions_->take_back();
    if (batch != nullptr) batch->refused = true;
    refuse(batch != nullptr ? batch_room::refusal() : too_long_error());
  } catch (...) {
    refuse(current_node_error());
  }
  return effort::at_once;
}

// The first events of a subscription follow its answer at once, and wait with it.
void request_handler::check_size(const request& asked, std::size_t bytes,
                                 const batch_room* batch) const {
  if (batch != nullptr) bytes += batch->used + batch->reserved;
  if (asked.asked->subscribes && subscriptions_ != nullptr) {
    bytes += subscriptions_->first_event_bytes();
  }
  if (bytes > limits::output_bytes_per_session) throw answer_too_long();
}

request_handler::request request_handler::prepare(const json_value* message, effort allowed) const {
  check_frame(*message);
  const auto* name = find_member(*message, "method");
  if (name == nullptr || !name->IsString()) refuse_request("\"method\" must be a string");
  request asked;
  asked.asked = &methods::find({name->GetString(), name->GetStringLength()});
  asked.params = find_member(*message, "params");
  if (asked.params == nullptr || !asked.params->IsObject()) {
    refuse_params("expected an object with a \"path\"");
  }
  const auto* path = find_member(*asked.params, "path");
  if (path == nullptr || !path->IsString()) refuse_params("\"path\" must be a string");
  asked.path.assign(path->GetString(), path->GetStringLength());
  asked.is_pattern = asked.asked->takes_pattern && nx_db::is_pattern(asked.path);
  find_nodes(asked, allowed);
  return asked;
}

request_handler::request request_handler::prepare(const plain_get& message, effort allowed) const {
  static const auto& get = methods::find("get");
  request asked;
  asked.asked = &get;
  asked.path = message.path;
  find_nodes(asked, allowed);
  return asked;
}

// A request for more than is allowed is not even looked up.
void request_handler::find_nodes(request& asked, effort allowed) const {
  const auto& how = *asked.asked;
  if (!how.writes && client_is_gone()) throw client_gone_error();
  if (asked.is_pattern) {
    if (asked.path.ends_with("**")) asked.takes = effort::heavy;
    if (asked.takes > allowed) return;
    if (how.subscribes && allowed == effort::heavy) return;  // it looks for them itself
    asked.nodes = db_.match(asked.path);
    if (asked.nodes.size() > methods::few_nodes) asked.takes = effort::heavy;
  } else if (auto node = db_.find(asked.path)) {
    asked.nodes.push_back(std::move(node));
  }
  if (how.lists && find_member(*asked.params, "recursive") != nullptr) {
    asked.takes = effort::heavy;
  }
  const auto waits = [](const auto& node) { return node->read_may_wait(); };
  if (how.reads_value && std::any_of(asked.nodes.begin(), asked.nodes.end(), waits)) {
    asked.takes = std::max(asked.takes, effort::waiting);
  }
  const bool is_done = how.writes && rights_ == access::full && !asked.nodes.empty();
  if (is_done && asked.nodes.front()->write_may_wait()) asked.takes = effort::waiting;
}

void request_handler::execute(const request& asked, std::string_view id, json_allocator& allocator,
                              std::string& out) const {
  const auto& how = *asked.asked;
  if (how.writes && rights_ == access::read_only)
    throw nx_error(nx_error::forbidden, "Read-only session");
  json_value result(rapidjson::kObjectType);
  const request_call call{db_, subscriptions_, allocator, result};
  if (how.append == nullptr) {
    how.execute(asked, call);
    return json_rpc::append_result(out, id, result);
  }
  json_rpc::begin_result(out, id);
  how.append(asked, call, out);
  out += '}';
}

}  // namespace nx
