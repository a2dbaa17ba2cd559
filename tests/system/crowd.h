// Clients of a daemon that connect, read, subscribe, and leave half-way, until the object is
// destroyed. For soaks.
#pragma once

#include <atomic>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace nx {
class line_client;
}

namespace test {

class crowd {
 public:
  crowd(std::string socket, unsigned clients);
  ~crowd();
  crowd(const crowd&) = delete;
  crowd& operator=(const crowd&) = delete;

  unsigned answers() const { return answers_; }
  unsigned connections() const { return connections_; }

 private:
  void mingle(unsigned seed, unsigned clients);
  void act(std::unique_ptr<nx::line_client>& session, unsigned choice);

  std::string socket_;
  std::atomic<bool> stop_{false};
  std::atomic<unsigned> answers_{0};
  std::atomic<unsigned> connections_{0};
  std::vector<std::jthread> threads_;
};

}  // namespace test
