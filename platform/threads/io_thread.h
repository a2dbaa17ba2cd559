// Marks the threads that run sockets. They must never wait: for a device, a lock that is held
// across a call, or each other.
#pragma once

namespace nx::io_thread {

inline thread_local bool is_current = false;

}  // namespace nx::io_thread
