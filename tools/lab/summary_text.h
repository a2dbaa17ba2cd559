// A view as one line of text, for a log or a test without a terminal, and the final verdict of a
// run.
#pragma once

#include <chrono>
#include <string>

#include "tools/lab/convergence.h"
#include "tools/lab/view_model.h"

namespace tools::lab {

/// "   12.0 s  32/32 lit, 30 on target, 2 settling, worst +0.62 dB at 193.250 THz, turn client rx,
/// ..."
std::string status_line(const view& seen, std::chrono::milliseconds running);

/// "converged after 14.2 s: ..." or "not converged after 120.0 s: ..." with one reason per line.
std::string verdict_text(const view& seen, const convergence& verdict, bool converged,
                         std::chrono::milliseconds running);

}  // namespace tools::lab
