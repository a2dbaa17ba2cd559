#include "gateway/metrics/scrape.h"

#include <rapidjson/document.h>
#include <unistd.h>

#include <array>

#include "gateway/metrics/gzip.h"
#include "gateway/metrics/metrics_text.h"
#include "gateway/metrics/tree_lookup.h"
#include "gateway/metrics/tree_metrics.h"
#include "platform/nexel_client/request_text.h"
#include "platform/wire/nx_error.h"

namespace gateway {

namespace {

std::string own_host_name() {
  std::array<char, 256> name{};
  ::gethostname(name.data(), name.size() - 1);
  return name.data();
}

}  // namespace

struct scrape::gathering {
  nx::json_document values{rapidjson::kObjectType};
  std::size_t outstanding = 0;
  bool failed = false;
};

scrape::scrape(std::shared_ptr<tree_link> link, const tls_identity* tls)
    : link_(std::move(link)), tls_(tls), node_(own_host_name()) {}

void scrape::metrics(const request& asked, const respond& done) {
  waiting_.push_back(
      {form_for(asked.header("accept")).open, takes_gzip(asked.header("accept-encoding")), done});
  if (waiting_.size() > 1) return;  // a request is in progress
  ask();
}

void scrape::ask() {
  const auto all = std::make_shared<gathering>();
  all->outstanding = scraped_patterns().size();
  for (const auto& pattern : scraped_patterns()) {
    link_->call("get", nx::params_text(pattern),
                [self = shared_from_this(), all](const auto* result, const auto* error) {
                  self->answered(*all, result, error);
                });
  }
}

void scrape::answered(gathering& all, const nx::json_value* result, const nx_error* error) {
  if (error && error->code != nx_error::not_found) all.failed = true;
  if (result && result->IsObject()) {
    auto& allocator = all.values.GetAllocator();
    for (const auto& member : result->GetObject()) {
      all.values.AddMember(nx::json_value(member.name, allocator),
                           nx::json_value(member.value, allocator), allocator);
    }
  }
  if (--all.outstanding == 0) finish(all.failed ? nullptr : &all);
}

void scrape::finish(const gathering* all) {
  const nx::json_value* values = all ? &all->values : nullptr;
  const auto told = all ? text_at(*values, "data/system/hostname") : std::nullopt;
  if (told && !told->empty()) node_ = *told;
  const auto families =
      scraped_families(values, node_, tls_ ? std::optional(tls_->expires()) : std::nullopt);
  for (const auto& [open, packed, done] : std::exchange(waiting_, {})) {
    answer made;
    made.type = form_for(open ? "application/openmetrics-text" : "").type;
    made.body = metrics_text(families, open);
    made.headers.emplace_back("Vary", "Accept, Accept-Encoding");
    if (packed) {
      made.body = gzipped(made.body);
      made.headers.emplace_back("Content-Encoding", "gzip");
    }
    done(std::move(made));
  }
}

}  // namespace gateway
