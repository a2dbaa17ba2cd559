// The pending output of one session, and the paths it is subscribed to. Nodes add events from any
// thread while they hold their own mutex, so nothing here blocks and no other lock is taken under
// this one.
//
// Events of a path are held back from `begin` until the answer to its subscription is in, and all
// events from `keep_place` until the answers for the kept place are in: an answer with a value that
// an event has replaced never follows that event. While the session is slow, a new event replaces
// the pending one of the same path: the tree represents state, so the newest wins.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <span>
#include <string>
#include <vector>

#include "platform/threads/light_mutex.h"
#include "platform/threads/ranked_mutex.h"
#include "platform/value_tree/nx_session.h"
#include "platform/value_tree/pattern_set.h"
#include "platform/value_tree/server/subscription_slots.h"

namespace nx {

class session_outbox {
 public:
  using node_pointer = subscription_slots::node_pointer;

  /// `all_answers`: bytes of pending answers in all sessions of a server, updated here.
  explicit session_outbox(std::atomic<std::size_t>* all_answers = nullptr)
      : all_answers_(all_answers) {}
  ~session_outbox() { count_answers(-static_cast<std::ptrdiff_t>(answer_bytes_)); }
  session_outbox(const session_outbox&) = delete;
  session_outbox& operator=(const session_outbox&) = delete;

  /// Each of these returns true if the sender has to be woken for something it does not know of
  /// yet. `text` is empty if there is none; subscriptions begun before it are now open.
  bool add_answer(std::string text);
  /// Reserves the place of the next answer, before events that arrive until then. Only for an
  /// answer that is made without blocking, since the sender gets no further than this.
  void keep_place();
  bool deliver(nx_event_ptr event, nx_subscription_number subscription);
  bool end_subscription(const std::string& path, const std::string& reason);

  /// Moves pending lines to the end of `out` until it holds `enough` bytes; true if there are more.
  /// After this the sender has to be woken again, unless the session is slow: then it continues by
  /// itself once the socket accepts more.
  bool take(std::string& out, std::size_t enough);
  /// The same for what waits alone: one text, in its own memory. Null if there is none or more.
  nx_event_ptr take_only();
  void set_slow(bool slow);
  std::size_t waiting_bytes() const;
  /// The part that the client has not asked for by name: events. Answers are limited one by one.
  std::size_t waiting_event_bytes() const;
  /// First events waiting for the answer to their subscription.
  std::size_t first_event_bytes() const;

  /// Ends everything and returns the nodes that were subscribed to; later calls have no effect.
  std::vector<node_pointer> close();

  // Subscriptions: single paths, and patterns that cover paths. All but the last functions are
  // called for one request at a time.
  /// The paths of a pattern, all different, begin next: memory for them is taken at once, and if
  /// they are the first they need not be looked up.
  void expect(std::size_t subscriptions);
  /// How a subscription came about; `expected` also by a pattern, and announced by `expect`.
  enum class reach { by_name, by_pattern, expected };
  /// Adds a number for each to `numbers`, up to the limit of subscriptions.
  void begin(std::span<const node_pointer> nodes, reach how,
             std::vector<nx_subscription_number>& numbers);
  struct first_event {
    nx_subscription_number of;
    std::uint32_t bytes;  // with its line end
  };
  /// First events of subscriptions that have begun since the last answer, in that order, as lines.
  void add_first_events(std::span<const first_event> events, std::string lines);
  /// What has been delivered for a subscription that has begun, to be added to such lines instead.
  nx_event_ptr take_first_event(nx_subscription_number of);
  /// Undoes `begin` after a failure.
  void abandon(const std::string& path);
  /// False if the limit of subscriptions or that of the patterns' bytes is reached.
  bool add_pattern(const std::string& pattern);
  std::size_t pattern_bytes() const;
  bool has_pattern(const std::string& pattern) const;
  /// Ends the subscriptions named by the path or pattern, and returns the nodes that no other
  /// subscription covers.
  std::vector<node_pointer> remove(const std::string& path_or_pattern);
  /// The same for a pattern that did not fit; paths subscribed to by name stay.
  std::vector<node_pointer> withdraw(const std::string& pattern);
  bool covered_by_pattern(const std::string& path) const;
  bool is_subscribed(const std::string& path) const;
  /// Subscribed to by name.
  bool is_exact(const std::string& path) const;
  std::size_t subscriptions() const;  ///< paths and patterns
  nx_subscription_number subscription_number(const std::string& path) const;

 private:
  // A subscription that is not open yet, and what has come for it so far.
  struct begun {
    nx_subscription_number subscription = no_subscription;
    nx_event_ptr event;             // the newest since, or the message "ended"
    std::uint32_t first_bytes = 0;  // its share of first_lines_
    bool ended = false;
    bool given_up = false;
  };
  // Answers are held like events, by this session alone. Null while the text is being assembled:
  // later items wait.
  struct item {
    nx_event_ptr text;
    nx_subscription_number of;  // no_subscription if it is not an event
    bool answer = false;
  };

  void push(std::string text, bool answer);
  void push(item added);
  void push_event(subscription_slots::slot& subscribed, nx_subscription_number of,
                  nx_event_ptr event);
  [[nodiscard]] node_pointer push_end(nx_subscription_number ended, std::string text);
  [[nodiscard]] node_pointer end(nx_subscription_number ended);
  nx_subscription_number begin_one(const node_pointer& node, reach how);
  nx_event_ptr take_begun(nx_subscription_number of);
  [[nodiscard]] std::vector<node_pointer> open_begun();
  static void cut_given_up(const std::vector<begun>& all, std::vector<std::string>& lines);
  void fill(std::uint64_t number, std::string text);
  void drop(const item& from);
  void count_answers(std::ptrdiff_t bytes);
  std::vector<node_pointer> remove_pattern(const std::string& pattern, bool exact_too);
  bool wake();
  bool nothing_waits() const { return first_ == queue_.size(); }
  std::uint64_t front_number() const { return next_number_ - (queue_.size() - first_); }
  void forget_sent();

  std::atomic<std::size_t>* const all_answers_;
  mutable ranked<light_mutex> mutex_{lock_rank::leaf};
  // A vector that is emptied as a whole keeps its memory from event to event.
  std::vector<item> queue_;
  std::size_t first_ = 0;  // everything before it has been sent
  std::uint64_t next_number_ = 1;
  bool some_ended_ = false;       // the queue may hold events of ended subscriptions
  std::uint64_t kept_place_ = 0;  // 0: none
  std::size_t bytes_ = 0;
  std::size_t answer_bytes_ = 0;  // of these
  std::size_t begun_bytes_ = 0;
  bool slow_ = false;
  bool woken_ = false;
  bool closed_ = false;
  // `place` of a slot is the number of its newest item in the queue; while the subscription is not
  // open, the place of its entry in begun_.
  subscription_slots subscriptions_;
  bool first_ones_ = false;  // subscriptions were none when the last pattern was announced
  std::vector<begun> begun_;
  std::vector<std::string> first_lines_;
  pattern_set patterns_;
};

}  // namespace nx
