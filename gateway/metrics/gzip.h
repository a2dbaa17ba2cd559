// A text as gzip has it: metrics repeat themselves so much that a twentieth is left, which counts
// where a collector reads many nodes over their supervisory network. Pure.
#pragma once

#include <string>
#include <string_view>

namespace gateway {

/// By the request's Accept-Encoding; whoever weighs codings against each other gets plain text.
bool takes_gzip(std::string_view accept_encoding);

/// Throws std::bad_alloc alone.
std::string gzipped(const std::string& text);

}  // namespace gateway
