#include "device/cycle_reads.h"

#include <rapidjson/document.h>

#include <algorithm>
#include <future>
#include <utility>

#include "helpers/waiting.h"
#include "platform/nexel_client/nexel_client.h"
#include "platform/wire/json_conversion.h"

namespace device {

namespace {

/// A phase that sleeps in the middle of a cycle, as after a coldstart, reads again afterwards.
constexpr std::chrono::seconds longest_age{1};

thread_local cycle_reads* current_reads = nullptr;

std::string name_of(const nexel_client_api& client) {
  auto address = client.address();
  // A nexel without a name, as in tests, is identified by its client.
  return address.empty() ? std::to_string(reinterpret_cast<std::uintptr_t>(&client)) : address;
}

using answer = std::variant<bool, float, unsigned, std::string, nx_client_exception>;
using answers_by_path = std::map<std::string, answer>;

}  // namespace

/// A request in flight.
class pending_read {
 public:
  explicit pending_read(nexel_client_api& client) : client_(client) {}
  virtual ~pending_read() = default;
  virtual std::shared_ptr<nexel_object> object() const = 0;
  /// Waits for the answer. False if the nexel does not support patterns.
  virtual bool collect(answers_by_path& into) = 0;

  nexel_client_api& client() const { return client_; }

 private:
  nexel_client_api& client_;
};

namespace {

template <class T>
class pending_value : public pending_read {
 public:
  pending_value(nexel_client_api& nexel, const std::string& path)
      : pending_read(nexel),
        object_(std::make_shared<nexel_read_object<T>>(path)),
        future_(object_->get_future()) {}
  std::shared_ptr<nexel_object> object() const override { return object_; }
  bool collect(answers_by_path& into) override {
    const auto& path = object_->get_path();
    try {
      into.insert_or_assign(path, client().wait_for(future_, path));
    } catch (const nx_client_exception& error) {
      into.insert_or_assign(path, error);
    }
    return true;
  }

 private:
  std::shared_ptr<nexel_read_object<T>> object_;
  std::future<T> future_;
};

/// The nexel's values of all paths that match a pattern. A value in error, or of another type, is
/// left out: the single read then reports the problem.
template <class T>
class pattern_object : public nexel_object {
 public:
  using nexel_object::nexel_object;

  const char* method() const override { return "get"; }
  void write_request_data(nx::json_value&, nx::json_allocator&) const override {}
  void process_ok_response(const nx::json_value& result) override {
    for (const auto& member : result.GetObject()) {
      try {
        told_.emplace(member.name.GetString(), nx::from_json<T>(member.value));
      } catch (const json_value_conversion_error&) {
      }
    }
    done_.set_value(!told_.empty());
  }
  void process_error_response(const nx_client_exception&) override { done_.set_value(false); }
  void report_local_error(const nx_client_exception& error) override {
    done_.set_exception(std::make_exception_ptr(error));
  }

  std::future<bool> get_future() { return done_.get_future(); }
  /// Valid once the future is ready.
  const answers_by_path& told() const { return told_; }

 private:
  answers_by_path told_;
  std::promise<bool> done_;
};

template <class T>
class pending_pattern : public pending_read {
 public:
  pending_pattern(nexel_client_api& nexel, const std::string& pattern)
      : pending_read(nexel),
        object_(std::make_shared<pattern_object<T>>(pattern)),
        future_(object_->get_future()) {}
  std::shared_ptr<nexel_object> object() const override { return object_; }
  bool collect(answers_by_path& into) override {
    try {
      const bool knows_patterns = client().wait_for(future_, object_->get_path());
      into.insert(object_->told().begin(), object_->told().end());
      return knows_patterns;
    } catch (const nx_client_exception&) {
      return true;  // the nexel is away: each single read will report it at once
    }
  }

 private:
  std::shared_ptr<pattern_object<T>> object_;
  std::future<bool> future_;
};

template <template <class> class Pending>
std::unique_ptr<pending_read> prepare(read_wish::type what, nexel_client_api& client,
                                      const std::string& path) {
  switch (what) {
    case read_wish::type::number:
      return std::make_unique<Pending<float>>(client, path);
    case read_wish::type::truth:
      return std::make_unique<Pending<bool>>(client, path);
    case read_wish::type::count:
      return std::make_unique<Pending<unsigned>>(client, path);
    case read_wish::type::text:
      break;
  }
  return std::make_unique<Pending<std::string>>(client, path);
}

}  // namespace

cycle_reads::cycle_reads() = default;

cycle_reads::~cycle_reads() = default;

cycle_reads::scope::scope(cycle_reads& reads) : former_(std::exchange(current_reads, &reads)) {}

cycle_reads::scope::~scope() {
  current_reads = former_;
}

cycle_reads* cycle_reads::current() {
  return current_reads;
}

cycle_reads::waiting_time::waiting_time(std::size_t requests, cycle_reads* reads)
    : reads_(reads), begin_(helpers::steady_now()) {
  if (!reads_) return;
  reads_->cost_.requests += requests;
  ++reads_->cost_.waits;
}

cycle_reads::waiting_time::~waiting_time() {
  if (!reads_) return;
  const auto passed = helpers::steady_now() - begin_;
  reads_->cost_.waited += passed;
  reads_->all_waits_ += passed;
}

std::chrono::steady_clock::time_point cycle_reads::age_clock() const {
  return helpers::steady_now() - all_waits_;
}

void cycle_reads::fetch(const std::vector<read_wish>& wishes) {
  answers_.clear();
  under_way_.clear();
  cost_ = {};
  complete(wishes);
}

void cycle_reads::complete(const std::vector<read_wish>& wishes) {
  const auto prepared = prepare_requests(wishes);
  if (under_way_.empty()) return;
  const waiting_time counted(under_way_.size(), this);
  send(prepared);
  take_answers(under_way_.begin());
}

void cycle_reads::ask_ahead(const std::vector<read_wish>& wishes) {
  send(prepare_requests(wishes));
}

void cycle_reads::send(const requests& prepared) {
  for (const auto& [nexel, one] : prepared)
    one.first->server_call(one.second);
}

cycle_reads::requests cycle_reads::prepare_requests(const std::vector<read_wish>& wishes) {
  std::set<key> asked;
  requests prepared;
  for (const auto& wish : wishes) {
    const auto nexel = name_of(*wish.client);
    if (is_kept({nexel, wish.path})) continue;
    const bool by_pattern = !wish.pattern.empty() && !without_patterns_.contains(nexel);
    const auto& path = by_pattern ? wish.pattern : wish.path;
    if (!asked.emplace(nexel, path).second) continue;
    auto& [client, request] = prepared[nexel];
    if (!request) {
      request = std::make_shared<nexel_read_request>();
      client = wish.client.get();
    }
    under_way_.push_back(by_pattern ? prepare<pending_pattern>(wish.what, *client, path)
                                    : prepare<pending_value>(wish.what, *client, path));
    request->add_object(under_way_.back()->object());
  }
  return prepared;
}

void cycle_reads::collect(const std::string& nexel) {
  const auto first = std::stable_partition(
      under_way_.begin(), under_way_.end(),
      [&](const std::unique_ptr<pending_read>& each) { return name_of(each->client()) != nexel; });
  if (first == under_way_.end()) return;
  const waiting_time counted(static_cast<std::size_t>(under_way_.end() - first), this);
  take_answers(first);
}

void cycle_reads::take_answers(reads_under_way::iterator first) {
  std::map<std::string, std::map<std::string, answer>> told;
  for (auto each = first; each != under_way_.end(); ++each) {
    const auto nexel = name_of((*each)->client());
    if (!(*each)->collect(told[nexel])) without_patterns_.insert(nexel);
  }
  under_way_.erase(first, under_way_.end());
  keep(std::move(told));
}

void cycle_reads::keep(std::map<std::string, std::map<std::string, answer>>&& told) {
  const auto end = age_clock();
  for (auto& [nexel, answers] : told) {
    for (auto& [path, what] : answers)
      answers_.insert_or_assign({nexel, path}, kept{std::move(what), end});
  }
}

bool cycle_reads::is_kept(const key& of) const {
  const auto found = answers_.find(of);
  return found != answers_.end() && age_clock() - found->second.at <= longest_age;
}

template <class T>
const cycle_reads::answer* cycle_reads::find(const key& of) const {
  if (!is_kept(of)) return nullptr;
  const auto& what = answers_.find(of)->second.what;
  const bool fits =
      std::holds_alternative<T>(what) || std::holds_alternative<nx_client_exception>(what);
  return fits ? &what : nullptr;
}

const cycle_reads::answer* cycle_reads::peek(const std::string& nexel,
                                             const std::string& path) const {
  const auto found = answers_.find({nexel, path});
  return found == answers_.end() ? nullptr : &found->second.what;
}

template <class T>
T cycle_reads::ask(nexel_client_api& client, const std::string& path) {
  const waiting_time counted(1, this);
  return client.get<T>(path);
}

template <class T>
T cycle_reads::get(nexel_client_api& client, const std::string& path) {
  const key of{name_of(client), path};
  collect(of.first);
  if (const auto* what = find<T>(of)) {
    if (const auto* error = std::get_if<nx_client_exception>(what)) throw *error;
    return std::get<T>(*what);
  }
  // A failure is not kept: code that waits for a device during the start asks it again.
  T value = ask<T>(client, path);
  answers_.insert_or_assign(of, kept{value, age_clock()});
  return value;
}

void cycle_reads::forget(const nexel_client_api& client, std::string_view part) {
  const auto nexel = name_of(client);
  std::erase_if(under_way_, [&](const std::unique_ptr<pending_read>& each) {
    return name_of(each->client()) == nexel;
  });
  const auto from = answers_.lower_bound({nexel, {}});
  for (auto each = from; each != answers_.end() && each->first.first == nexel;) {
    const bool holds = part.empty() || each->first.second.find(part) != std::string::npos;
    each = holds ? answers_.erase(each) : std::next(each);
  }
}

template bool cycle_reads::get(nexel_client_api&, const std::string&);
template float cycle_reads::get(nexel_client_api&, const std::string&);
template unsigned cycle_reads::get(nexel_client_api&, const std::string&);
template std::string cycle_reads::get(nexel_client_api&, const std::string&);

}  // namespace device
