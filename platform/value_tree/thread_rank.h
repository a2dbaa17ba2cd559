// Which threads of a node come first when the processor is short. Regulation must not wait for a
// client, nor one client's small request for another's large one. Each thread calls this once, for
// itself; it never throws.
#pragma once

namespace nx {

enum class thread_rank {
  loops,      ///< regulation, and the answers of devices
  serving,    ///< sockets of clients, polled values, requests that may block
  background  ///< answers that take long
};

/// Names the calling thread and sets its rank. Going above an ordinary process needs a permission
/// (RLIMIT_NICE or CAP_SYS_NICE); without it the rank is that of an ordinary process, and only the
/// background is lower; the shorter time slices need none.
void take_rank(const char* thread_name, thread_rank rank);

/// True on a thread of the lowest rank: it may hold a contended lock for long.
bool in_background();

}  // namespace nx
