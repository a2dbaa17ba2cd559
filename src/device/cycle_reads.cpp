#include "device/cycle_reads.h"

#include <future>
#include <set>
#include <utility>

#include "helpers/waiting.h"
#include "platform/nexel_client/nexel_client.h"

namespace device {

namespace {

/// A phase that sleeps in the middle of a cycle, as after a coldstart, reads anew.
constexpr std::chrono::seconds longest_age{1};

thread_local cycle_reads* current_reads = nullptr;

std::chrono::steady_clock::time_point now() {
  return helpers::waiting::instance().steady_now();
}

std::string name_of(const nexel_client_api& client) {
  auto address = client.address();
  // A nexel without a name, as a test's: the client stands for it.
  return address.empty() ? std::to_string(reinterpret_cast<std::uintptr_t>(&client)) : address;
}

/// One read that is under way.
class pending_read {
 public:
  using answer = std::variant<bool, float, unsigned, std::string, nx_client_exception>;

  pending_read(nexel_client_api& client, std::string path)
      : client_(client), path_(std::move(path)) {}
  virtual ~pending_read() = default;
  virtual std::shared_ptr<nexel_object> object() const = 0;
  virtual answer await() = 0;

  const std::string& path() const { return path_; }
  nexel_client_api& client() const { return client_; }

 private:
  nexel_client_api& client_;
  std::string path_;
};

template <class T>
class pending_value : public pending_read {
 public:
  pending_value(nexel_client_api& nexel, const std::string& path)
      : pending_read(nexel, path),
        object_(std::make_shared<nexel_read_object<T>>(path)),
        future_(object_->get_future()) {}
  std::shared_ptr<nexel_object> object() const override { return object_; }
  answer await() override {
    try {
      return client().wait_for(future_, path());
    } catch (const nx_client_exception& error) {
      return error;
    }
  }

 private:
  std::shared_ptr<nexel_read_object<T>> object_;
  std::future<T> future_;
};

std::unique_ptr<pending_read> prepare(const read_wish& wish) {
  switch (wish.what) {
    case read_wish::type::number:
      return std::make_unique<pending_value<float>>(*wish.client, wish.path);
    case read_wish::type::truth:
      return std::make_unique<pending_value<bool>>(*wish.client, wish.path);
    case read_wish::type::count:
      return std::make_unique<pending_value<unsigned>>(*wish.client, wish.path);
    case read_wish::type::text:
      break;
  }
  return std::make_unique<pending_value<std::string>>(*wish.client, wish.path);
}

}  // namespace

cycle_reads::scope::scope(cycle_reads& reads) : former_(std::exchange(current_reads, &reads)) {}

cycle_reads::scope::~scope() {
  current_reads = former_;
}

cycle_reads* cycle_reads::current() {
  return current_reads;
}

void cycle_reads::fetch(const std::vector<read_wish>& wishes) {
  answers_.clear();
  cost_ = {};
  const auto begin = now();
  std::set<key> known;
  std::vector<std::unique_ptr<pending_read>> pending;
  std::map<std::string, std::pair<nexel_client_api*, std::shared_ptr<nexel_request>>> requests;
  for (const auto& wish : wishes) {
    const auto nexel = name_of(*wish.client);
    if (!known.emplace(nexel, wish.path).second) continue;
    auto& [client, request] = requests[nexel];
    if (!request) request = std::make_shared<nexel_read_request>();
    // Proxies of one nexel have clients of their own; the first one asks for all.
    if (!client) client = wish.client.get();
    pending.push_back(prepare({wish.client, wish.what, wish.path}));
    request->add_object(pending.back()->object());
  }
  for (const auto& [nexel, one] : requests)
    one.first->server_call(one.second);
  std::vector<answer> answers;
  for (const auto& each : pending)
    answers.push_back(each->await());
  const auto end = now();
  for (std::size_t i = 0; i < pending.size(); ++i) {
    answers_.insert_or_assign({name_of(pending[i]->client()), pending[i]->path()},
                              kept{std::move(answers[i]), end});
  }
  cost_ = {.requests = pending.size(), .waits = pending.empty() ? 0U : 1U, .waited = end - begin};
}

template <class T>
const cycle_reads::answer* cycle_reads::find(const key& of) const {
  const auto found = answers_.find(of);
  if (found == answers_.end() || now() - found->second.at > longest_age) return nullptr;
  const auto& what = found->second.what;
  const bool fits =
      std::holds_alternative<T>(what) || std::holds_alternative<nx_client_exception>(what);
  return fits ? &what : nullptr;
}

template <class T>
cycle_reads::answer cycle_reads::ask(nexel_client_api& client, const std::string& path) {
  const auto begin = now();
  answer what;
  try {
    what = client.get<T>(path);
  } catch (const nx_client_exception& error) {
    what = error;
  }
  ++cost_.requests;
  ++cost_.waits;
  cost_.waited += now() - begin;
  return what;
}

template <class T>
T cycle_reads::get(nexel_client_api& client, const std::string& path) {
  const key of{name_of(client), path};
  const auto* what = find<T>(of);
  if (!what) {
    auto& entry = answers_.insert_or_assign(of, kept{ask<T>(client, path), now()}).first->second;
    what = &entry.what;
  }
  if (const auto* error = std::get_if<nx_client_exception>(what)) throw *error;
  return std::get<T>(*what);
}

void cycle_reads::forget(const nexel_client_api& client, std::string_view part) {
  const auto nexel = name_of(client);
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
