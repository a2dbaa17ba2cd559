#include "gateway/metrics/scrape.h"

#include <rapidjson/document.h>
#include <unistd.h>

#include <array>
#include <charconv>
#include <optional>

#include "gateway/metrics/metrics_text.h"
#include "gateway/metrics/tree_lookup.h"
#include "gateway/metrics/tree_metrics.h"
#include "platform/nexel_client/request_text.h"

namespace gateway {

namespace {

constexpr std::chrono::seconds follow_period{1};
/// A collector that has not come for this long is gone.
constexpr std::chrono::minutes collector_patience{5};
constexpr std::array followed_patterns{"insight/client/*/*/stepsLastHour",
                                       "insight/line/stepsLastHour"};
constexpr std::int32_t no_such_path = -2;

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

scrape::scrape(boost::asio::io_context& io, std::shared_ptr<tree_mirror> mirror)
    : mirror_(std::move(mirror)), node_(own_host_name()), timer_(io) {}

scrape::~scrape() {
  mirror_->remove(*this);
}

void scrape::stop() {
  timer_.cancel();
  unfollow();
}

void scrape::metrics(const request& asked, const respond& done) {
  last_scrape_ = std::chrono::steady_clock::now();
  waiting_.emplace_back(form_for(asked.header("accept")).open, done);
  if (waiting_.size() > 1) return;  // it is under way
  follow();
  ask();
}

void scrape::ask() {
  const auto all = std::make_shared<gathering>();
  all->outstanding = scraped_patterns().size();
  for (const auto& pattern : scraped_patterns()) {
    mirror_->link().call("get", nx::params_text(pattern),
                         [self = shared_from_this(), all](const auto* result, const auto* error) {
                           self->answered(*all, result, error);
                         });
  }
}

void scrape::answered(gathering& all, const nx::json_value* result, const nx_error* error) {
  if (error && error->code != no_such_path) all.failed = true;
  if (result && result->IsObject()) {
    auto& allocator = all.values.GetAllocator();
    for (const auto& member : result->GetObject()) {
      if (all.values.HasMember(member.name)) continue;
      all.values.AddMember(nx::json_value(member.name, allocator),
                           nx::json_value(member.value, allocator), allocator);
    }
  }
  if (--all.outstanding == 0) finish(all.failed ? nullptr : &all);
}

std::string scrape::node_of(const nx::json_value& values) {
  const auto told = text_at(values, "data/system/hostname");
  if (told && !told->empty()) node_ = *told;
  return node_;
}

void scrape::finish(const gathering* all) {
  const nx::json_document none(rapidjson::kObjectType);
  const nx::json_value& values = all ? static_cast<const nx::json_value&>(all->values) : none;
  family_set into(node_of(values));
  into.gauge("lumora_up", "1 while the daemon answers the gateway", {}, all ? 1 : 0);
  if (all) {
    if (const auto* cycle = value_at(values, "insight/cycle")) counts_.cycle(*cycle);
    add_tree_metrics(values, into);
    counts_.add_to(into, values);
  }
  const auto families = into.take();
  for (const auto& [open, done] : std::exchange(waiting_, {})) {
    answer made;
    made.type = form_for(open ? "application/openmetrics-text" : "").type;
    made.body = metrics_text(families, open);
    done(std::move(made));
  }
}

void scrape::follow() {
  if (!followed_.empty()) return;
  for (const char* pattern : followed_patterns) {
    auto watched = mirror_->watch(pattern);
    if (!watched) continue;
    followed_.push_back(std::move(watched));
    seen_.push_back(0);
  }
  link_changes_ = mirror_->link_changes();
  mirror_->add(*this);
  read_cycle();
}

void scrape::unfollow() {
  mirror_->remove(*this);
  followed_.clear();
  seen_.clear();
  counts_.clear();
}

void scrape::mirror_changed() {
  if (link_changes_ != mirror_->link_changes()) {
    link_changes_ = mirror_->link_changes();
    counts_.clear();
  }
  for (std::size_t i = 0; i < followed_.size(); ++i) {
    followed_[i]->for_each_after(seen_[i], [this](const std::string& path, std::string_view value) {
      constexpr std::string_view before = "\"value\":";
      unsigned steps = 0;
      if (!value.starts_with(before)) return;
      const auto* from = value.data() + before.size();
      if (std::from_chars(from, value.data() + value.size(), steps).ec == std::errc()) {
        counts_.steps(path, steps);
      }
    });
    seen_[i] = followed_[i]->newest();
  }
}

void scrape::read_cycle() {
  timer_.expires_after(follow_period);
  timer_.async_wait([weak = weak_from_this()](const boost::system::error_code& error) {
    const auto self = weak.lock();
    if (!self || error) return;
    if (std::chrono::steady_clock::now() - self->last_scrape_ > collector_patience) {
      return self->unfollow();
    }
    self->mirror_->link().call("get", nx::params_text("insight/cycle"),
                               [weak](const nx::json_value* result, const nx_error*) {
                                 const auto alive = weak.lock();
                                 const auto* cycle = result && result->IsObject()
                                                         ? value_at(*result, "insight/cycle")
                                                         : nullptr;
                                 if (alive && cycle) alive->counts_.cycle(*cycle);
                               });
    self->read_cycle();
  });
}

}  // namespace gateway
