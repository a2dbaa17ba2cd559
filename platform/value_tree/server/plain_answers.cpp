#include "platform/value_tree/nx_db.h"
#include "platform/value_tree/server/plain_get.h"
#include "platform/value_tree/server/request_handler.h"
#include "platform/wire/json_rpc.h"
#include "platform/wire/limits.h"

namespace nx {
namespace {

// A plain path needs no escapes.
bool append_answer(const plain_get& get, const nx_db_leaf_node* node, std::string& out) {
  if (node == nullptr || node->read_may_wait()) return false;
  json_rpc::begin_result(out, get.id);
  out += R"({")";
  out += get.path;
  out += R"(":)";
  if (!node->append_text(out)) return false;
  out += "}}";
  return true;
}

}  // namespace

bool request_handler::answer_plain(const plain_get& get, std::string& out) const {
  const auto start = out.size();
  if (!client_is_gone() && append_answer(get, db_.find(get.path).get(), out)) return true;
  out.resize(start);
  return false;
}

bool request_handler::answer_plain(const std::vector<plain_get>& gets, std::string& out) const {
  // So far below the limit for answers that no request of a batch has to be refused because of it.
  constexpr std::size_t most_bytes = limits::output_bytes_per_session / 8;
  if (client_is_gone()) return false;
  std::vector<std::string_view> paths;
  paths.reserve(gets.size());
  for (const auto& get : gets)
    paths.push_back(get.path);
  const auto nodes = db_.find_each(paths);
  const auto start = out.size();
  for (std::size_t i = 0; i < gets.size(); ++i) {
    out += i == 0 ? '[' : ',';
    if (!append_answer(gets[i], nodes[i].get(), out) || out.size() - start > most_bytes) {
      out.resize(start);
      return false;
    }
  }
  out += ']';
  return true;
}

}  // namespace nx
