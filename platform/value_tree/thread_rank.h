// Which threads of a node come first when there is not enough processor for all. The light must not
// wait for a client, nor a client's small question for another one's large one. Each thread calls
// this once, for itself; it never throws.
#pragma once

namespace nx {

enum class thread_rank {
  loops,      ///< regulation, and the answers of devices
  serving,    ///< sockets of clients, polled values, requests that wait
  background  ///< answers that take long to work out
};

/// Names the calling thread and gives it its rank. Going above an ordinary process needs a
/// permission (RLIMIT_NICE or CAP_SYS_NICE); without it the rank is that of an ordinary process,
/// and the background alone stands below.
void take_rank(const char* thread_name, thread_rank rank);

/// True on a thread of the last rank: a lock that others want too may stay with it for long.
bool in_background();

}  // namespace nx
