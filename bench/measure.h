// One measurement: an operation again and again for a part of a second, with the processor time of
// client and server counted, so that what else runs on the machine falls out of the rate.
#pragma once

#include <sys/types.h>

#include <functional>
#include <vector>

namespace bench {

struct sample {
  double rate = 0;    ///< operations for a second of processor time, client and server together
  double p99_us = 0;  ///< of one operation, by the wall clock
};

/// `parts`: operations that one call stands for.
sample measure(pid_t server, unsigned parts, const std::function<void()>& operation);

double median(std::vector<double> values);

}  // namespace bench
