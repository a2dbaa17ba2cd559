// The same values in a key store, through its usual client library: the obvious alternative.
#pragma once

#include <hiredis/hiredis.h>

#include <memory>
#include <string>
#include <vector>

#include "bench/child.h"
#include "bench/contestant.h"

namespace bench {

class redis_server : public contestant {
 public:
  explicit redis_server(const std::string& folder);

  pid_t server() const override { return child_.pid(); }
  void get() override;
  void get_in_flight() override { get_pipelined(in_flight); }
  void get_batch() override { get_pipelined(together); }
  void get_by_pattern() override;
  void listen(unsigned listeners) override;
  void event() override { publish(1); }
  void event_burst() override { publish(burst); }
  void set_and_hear() override { publish(1); }
  void set_and_hear_oneself() override { publish(1); }  // who listens writes nothing

 private:
  using connection = std::unique_ptr<redisContext, decltype(&redisFree)>;

  connection connect() const;
  void get_pipelined(unsigned count);
  void publish(unsigned events);

  const std::string path_;
  child child_;
  connection connection_;
  std::vector<connection> listeners_;
  std::string all_;  // one MGET of `together` values
  unsigned next_ = 0;
};

}  // namespace bench
