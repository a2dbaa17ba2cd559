// Converts values of the tree to samples; pure, for table tests. A value that is missing, in error
// or of another type gives no sample, and neither does a power that means darkness.
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "gateway/metrics/family_set.h"
#include "platform/wire/json.h"

namespace gateway {

/// The patterns that a scrape reads; a missing path is not an error, and no path fits two patterns.
const std::vector<std::string>& scraped_patterns();

/// `object` has paths and values, as returned by `get`. Adds to `into`.
void add_tree_metrics(const nx::json_value& object, family_set& into);

/// All samples of the node; null means a daemon that does not answer. `expires` is the end of the
/// gateway's own certificate, if it has one.
std::vector<prometheus::MetricFamily> scraped_families(
    const nx::json_value* values, const std::string& node,
    const std::optional<std::chrono::system_clock::time_point>& expires = {});

}  // namespace gateway
