#include "gateway/http/router.h"

#include "gateway/api/tree_api.h"
#include "platform/note_log/note_log.h"

namespace gateway {

namespace {

const char* name_of(method how) {
  switch (how) {
    case method::get:
    case method::head:
      return "GET, HEAD";
    case method::put:
      return "PUT";
    case method::post:
      return "POST";
    case method::other:
      break;
  }
  return "";
}

answer wrong_method(const std::string& allowed) {
  auto refused = refusal(405, "This address takes " + allowed);
  refused.headers.emplace_back("Allow", allowed);
  return refused;
}

}  // namespace

void router::add(method how, std::string path, handler does) {
  entries_.push_back({how, std::move(path), std::move(does)});
}

void router::route(const request& asked, const respond& done) const {
  try {
    dispatch(asked, done);
  } catch (const nx_error& error) {
    done(error_answer(error));
  } catch (const std::exception& failure) {
    note_log::write(note_log::error, "gateway",
                    "A request for " + asked.path + " failed: " + failure.what());
    done(refusal(500, "The gateway failed at this request; its log says how"));
  }
}

void router::dispatch(const request& asked, const respond& done) const {
  for (const auto& each : gates_) {
    if (auto stopped = each(asked)) return done(std::move(*stopped));
  }
  const auto wanted = asked.reads() ? method::get : asked.asked;
  std::string allowed;
  for (const auto& each : entries_) {
    if (each.path != asked.path) continue;
    if (each.how == wanted) return each.does(asked, done);
    allowed += (allowed.empty() ? "" : ", ") + std::string(name_of(each.how));
  }
  if (!allowed.empty()) return done(wrong_method(allowed));
  if (!asked.reads()) return done(wrong_method(name_of(method::get)));
  if (fallback_) return fallback_(asked, done);
  done(refusal(404, "No such page"));
}

}  // namespace gateway
