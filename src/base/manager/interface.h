// All that the process shell knows of a product's manager. Called on the manager thread, once each.
// A failure leaves either call as an exception.
#pragma once

class nx_db;

namespace manager {

class interface {
 public:
  /// Builds everything of the product on the tree. Retries what other services must provide first.
  virtual void start(nx_db& db) = 0;

  /// The main loop, until `*running` is false. Others write the flag: std::atomic_ref.
  virtual void run(nx_db& db, bool* running) = 0;

 protected:
  // Always held by a std::shared_ptr that was made from the concrete class.
  ~interface() = default;
};

}  // namespace manager
