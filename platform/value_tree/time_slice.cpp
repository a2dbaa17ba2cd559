#include "platform/value_tree/time_slice.h"

// No header of the standard library: most include the C library's <sched.h>, which this one does
// not go together with.
#include <linux/sched/types.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace nx {

// The C library of Debian 12 has no function for it.
void set_time_slice(unsigned microseconds) {
  constexpr unsigned nanoseconds = 1000;
  sched_attr wanted{};
  if (::syscall(SYS_sched_getattr, 0, &wanted, sizeof(wanted), 0) != 0) return;
  wanted.sched_runtime = __u64{microseconds} * nanoseconds;
  ::syscall(SYS_sched_setattr, 0, &wanted, 0);
}

}  // namespace nx
