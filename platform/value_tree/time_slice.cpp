#include "platform/value_tree/time_slice.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <cstdint>

namespace nx {
namespace {

// The kernel's sched_attr: its own header does not go together with the C library's <sched.h>.
struct scheduling {
  std::uint32_t size;
  std::uint32_t policy;
  std::uint64_t flags;
  std::int32_t nice;
  std::uint32_t priority;
  std::uint64_t runtime;  // ns: the time slice
  std::uint64_t deadline;
  std::uint64_t period;
  std::uint32_t utilization_min;
  std::uint32_t utilization_max;
};
static_assert(sizeof(scheduling) == 56);

}  // namespace

// The C library of Debian 12 has no function for it.
void set_time_slice(unsigned microseconds) {
  constexpr unsigned nanoseconds = 1000;
  scheduling wanted{};
  if (::syscall(SYS_sched_getattr, 0, &wanted, sizeof(wanted), 0) != 0) return;
  wanted.runtime = std::uint64_t{microseconds} * nanoseconds;
  ::syscall(SYS_sched_setattr, 0, &wanted, 0);
}

}  // namespace nx
