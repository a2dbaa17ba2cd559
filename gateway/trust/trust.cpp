#include "gateway/trust/trust.h"

#include <algorithm>

#include "gateway/http/lower_case.h"

namespace gateway {

namespace {

constexpr unsigned unauthorized = 401;
constexpr unsigned forbidden = 403;
constexpr unsigned misdirected = 421;
constexpr unsigned unsupported = 415;

/// Without the port; an IPv6 address keeps its brackets.
std::string_view name_of(std::string_view host) {
  const auto colon = host.rfind(':');
  const auto bracket = host.rfind(']');
  if (colon == host.npos || (bracket != host.npos && colon < bracket)) return host;
  return host.substr(0, colon);
}

/// A foreign page may make the browser send requests, if only to cause load. Following a link to
/// here is different.
bool asked_by_other_page(const request& asked) {
  const auto site = asked.header("sec-fetch-site");
  if (site.empty() || site == "same-origin" || site == "none") return false;
  return !asked.reads() || asked.header("sec-fetch-mode") != "navigate" ||
         asked.header("sec-fetch-dest") != "document";
}

/// With or without parameters, such as a charset.
bool is_json(std::string_view content_type) {
  const auto type = lower_case(content_type.substr(0, content_type.find(';')));
  constexpr std::string_view json = "application/json";
  return type.starts_with(json) && type.find_first_not_of(" \t", json.size()) == type.npos;
}

answer ask_for_token(const char* scheme) {
  auto made = refusal(unauthorized, "This needs the gateway's token");
  made.headers.emplace_back("WWW-Authenticate", scheme);
  return made;
}

}  // namespace

trust::trust(trust_rules rules) : rules_(std::move(rules)) {}

// A foreign page may make a browser take the page's own name for this host's address; the requests
// still carry that name.
bool trust::names_this_gateway(std::string_view host) const {
  const auto name = lower_case(name_of(host));
  if (name == "localhost" || name == "127.0.0.1" || name == "[::1]") return true;
  return std::ranges::any_of(rules_.hosts,
                             [&](const auto& known) { return lower_case(known) == name; });
}

std::optional<answer> trust::check(const request& asked) const {
  if (rules_.loopback && !names_this_gateway(asked.header("host"))) {
    return refusal(misdirected,
                   "The Host of the request is not a name of this gateway; see --host");
  }
  if (asked_by_other_page(asked)) {
    return refusal(forbidden, "Pages from another origin may not ask here");
  }
  if (asked.path == "/healthz") return std::nullopt;
  if (asked.asked == method::put || asked.asked == method::post) return check_write(asked);
  if (rules_.loopback) return std::nullopt;
  if (rules_.token && rules_.token->is_shown_by(asked.header("authorization"))) return std::nullopt;
  return ask_for_token("Basic realm=\"lumora_gateway\", charset=\"UTF-8\"");
}

std::optional<answer> trust::check_write(const request& asked) const {
  const bool to_plant = rules_.lab && asked.path.starts_with("/api/v1/lab/");
  if (!to_plant && (!rules_.allow_writes || !rules_.token)) {
    return refusal(forbidden, "This gateway serves no writes; see --allow-writes");
  }
  const auto origin = asked.header("origin");
  const auto own = (rules_.tls ? "https://" : "http://") + lower_case(asked.header("host"));
  if (!origin.empty() && lower_case(origin) != own) {
    return refusal(forbidden, "Pages from another origin may not write here");
  }
  if (!to_plant && !rules_.token->is_shown_by(asked.header("authorization")))
    return ask_for_token("Bearer");
  if (asked.header(write_header).empty()) {
    return refusal(forbidden, "A write needs the header X-Lumora-Request");
  }
  if (!is_json(asked.header("content-type"))) {
    return refusal(unsupported, "A write needs the content type application/json");
  }
  return std::nullopt;
}

}  // namespace gateway
