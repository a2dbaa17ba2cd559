// SIGINT and SIGTERM until the tree server takes them over: a stop that is asked for while the
// process is being built is remembered, so that it ends in the same order as any other.
#pragma once

/// From here on the two signals are remembered instead of ending the process, and writing to a
/// closed socket is an error of that write, not a signal.
void catch_stop_signals();

/// Whether one of them has come in the meantime.
bool stop_was_asked_for();
