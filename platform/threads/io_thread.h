// Marks the threads that run sockets. They must never block: on a device, on a lock that is held
// across a call, or on each other.
#pragma once

namespace nx::io_thread {

inline thread_local bool is_current = false;

}  // namespace nx::io_thread
