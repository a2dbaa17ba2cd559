// Points in time as typed by people. Pure.
#pragma once

#include <string>

namespace tools::ctl {

/// Seconds since 1970 for "30s", "10m", "2h", "1d" (before `now`), "12:30" or "12:30:15" (the last
/// time it was that time, UTC), "2026-01-31", "2026-01-31T12:30" and "2026-01-31T12:30:15" with or
/// without Z. Throws usage_error.
long moment_of(const std::string& word, long now);

}  // namespace tools::ctl
