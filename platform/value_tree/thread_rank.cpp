#include "platform/value_tree/thread_rank.h"

#include <pthread.h>
#include <sched.h>
#include <sys/resource.h>
#include <unistd.h>

#include "platform/value_tree/time_slice.h"

namespace nx {
namespace {

thread_local bool is_background = false;

int nice_of(thread_rank rank) {
  switch (rank) {
    case thread_rank::loops:
      return -10;
    case thread_rank::serving:
      return -5;
    case thread_rank::background:
      return 10;
  }
  return 0;
}

// What these threads do between two waits takes less; the system's own slice is some milliseconds,
// for which a client that is busy with a large answer would hold up a device's.
unsigned time_slice_us(thread_rank rank) {
  switch (rank) {
    case thread_rank::loops:
      return 100;
    case thread_rank::serving:
      return 200;
    case thread_rank::background:
      return 0;
  }
  return 0;
}

}  // namespace

void take_rank(const char* thread_name, thread_rank rank) {
  ::pthread_setname_np(::pthread_self(), thread_name);
  is_background = rank == thread_rank::background;
  if (rank == thread_rank::background) {
    // Does not preempt a thread that has just got the processor.
    const sched_param none{};
    ::sched_setscheduler(0, SCHED_BATCH, &none);
  }
  ::setpriority(PRIO_PROCESS, static_cast<id_t>(::gettid()), nice_of(rank));
  set_time_slice(time_slice_us(rank));
}

bool in_background() {
  return is_background;
}

}  // namespace nx
