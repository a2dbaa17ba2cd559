// The one table that is printed.
#pragma once

#include <string>

namespace bench {

void print_head();
/// `beside`: ratios to the bare socket, the tree's and the key store's; or empty.
void print_line(const std::string& figure, const std::string& found, const std::string& goal,
                bool reached, const std::string& beside);

}  // namespace bench
