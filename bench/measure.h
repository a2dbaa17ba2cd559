// One measurement: an operation repeated for a fraction of a second, counting the processor time of
// client and server, so that other load on the machine does not affect the rate.
#pragma once

#include <sys/types.h>

#include <functional>
#include <vector>

namespace bench {

struct sample {
  double rate = 0;    ///< operations per second of processor time, client and server together
  double p99_us = 0;  ///< of one operation, in wall-clock time
};

/// `parts`: number of operations in one call.
sample measure(pid_t server, unsigned parts, const std::function<void()>& operation);

double median(std::vector<double> values);

}  // namespace bench
