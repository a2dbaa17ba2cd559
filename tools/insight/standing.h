// The state of a channel or the line, in sentences with figures: what `lumoractl explain` prints
// after the problems, and the lab's ladder. Pure.
#pragma once

#include <string>
#include <vector>

#include "tools/insight/node_insight.h"

namespace tools::insight {

/// "192.30 rx"
std::string label(const channel& of);

/// Both directions of a channel.
std::vector<std::string> channel_sentences(const node_insight& node, const channel_place& place);
/// One point of a ladder as a line of text.
std::string rung_text(const rung& of);
std::string rung_title();  ///< the names of its columns
std::vector<std::string> line_sentences(const node_insight& node);

}  // namespace tools::insight
