// The ids of messages as written: a number of any size must be returned as it was sent, and no
// number type holds all of them.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace nx {

/// One for each message that is an object, in order: the number that is its "id", otherwise empty.
/// The text is one message or a batch, and need not be valid. The results point into it.
std::vector<std::string_view> number_ids(std::string_view text);

/// The text with a small number in place of each id that may exceed every number type.
std::string with_short_ids(std::string_view text, const std::vector<std::string_view>& ids);

/// True if one of them is that long.
bool some_are_long(const std::vector<std::string_view>& ids);

}  // namespace nx
