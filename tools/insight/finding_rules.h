// The rules behind findings.h: each adds what it finds wrong, and may look at what those before it
// have found. Pure.
#pragma once

#include <cstddef>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "tools/insight/findings.h"
#include "tools/insight/node_insight.h"

namespace tools::insight {

void add_node_causes(const node_insight& node, std::vector<finding>& found);
void add_devices(const node_insight& node, std::vector<finding>& found);
/// After the line.
void add_compensator(const node_insight& node, std::vector<finding>& found);
void add_amplifiers(const node_insight& node, std::vector<finding>& found);
void add_line(const node_insight& node, std::vector<finding>& found);
void add_peer_gaps(const node_insight& node, std::vector<finding>& found);
void add_ladders(const node_insight& node, std::vector<finding>& found);
void add_channels(const node_insight& node, std::vector<finding>& found);
void add_loops(const node_insight& node, std::vector<finding>& found);
void add_panel(const node_insight& node, std::vector<finding>& found);
void add_guards(const node_insight& node, std::vector<finding>& found);

/// The newest event of a kind on a subject that none of `ends` on the same subject has followed;
/// null if there is none.
const event* open_event(const node_insight& node, const std::string& on,
                        std::initializer_list<std::string_view> begins,
                        std::initializer_list<std::string_view> ends);
/// Empty for null.
std::string time_of(const event* what);
/// Empty if the event does not have it.
std::string detail(const event& what, const char* name);
bool is_found(const std::vector<finding>& found, cause of);
/// With a capital at its begin.
std::string capital(std::string text);
/// "192.30, 192.45 and 3 more": the first few names of `all` things.
std::string some_of(const std::vector<std::string>& names, std::size_t all);

}  // namespace tools::insight
