// How long a thread may keep the processor before others have their turn, and with that how soon it
// gets it when it wakes: a short one interrupts a thread that has a longer one, whatever that is
// busy with.
#pragma once

namespace nx {

/// For the calling thread; 0 is what the system gives to everybody. From 100 to 100,000. Linux
/// before 6.12 knows no such thing, and leaves the thread as it is. Never throws.
void set_time_slice(unsigned microseconds);

}  // namespace nx
