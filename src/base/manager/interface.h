// What the process's outer shell knows of a product's manager. Called on the manager thread, once
// each. A failure is thrown from either call.
#pragma once

class nx_db;

namespace manager {

class interface {
 public:
  /// Builds everything of the product on the tree. Waits for what other services must provide
  /// first.
  virtual void start(nx_db& db) = 0;

  /// The main loop, until `*running` is false. Other threads write the flag: std::atomic_ref.
  virtual void run(nx_db& db, bool* running) = 0;

 protected:
  // Always held by a std::shared_ptr created from the concrete class.
  ~interface() = default;
};

}  // namespace manager
