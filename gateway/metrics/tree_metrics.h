// From values of the tree to samples: pure, so that tables can test it. A value that is missing, in
// error or of another type is no sample, and neither is a power that tells darkness.
#pragma once

#include <string>
#include <vector>

#include "gateway/metrics/family_set.h"
#include "platform/wire/json.h"

namespace gateway {

/// What a scrape asks the tree for; a path that is not there is no fault.
const std::vector<std::string>& scraped_patterns();

/// `values` is an object of path and value, as `get` answers. Adds to `into`.
void add_tree_metrics(const nx::json_value& values, family_set& into);

/// All that a scrape tells of the node; null is a daemon that does not answer.
std::vector<prometheus::MetricFamily> scraped_families(const nx::json_value* values,
                                                       const std::string& node);

}  // namespace gateway
