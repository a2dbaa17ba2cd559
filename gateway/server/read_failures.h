// What a client is told whose request cannot be read. Pure functions; they throw nothing.
#pragma once

#include <boost/system/error_code.hpp>

#include "gateway/http/exchange.h"
#include "gateway/settings.h"

namespace gateway {

answer too_late(const settings& bounds);
/// As opposed to a connection that has broken, which cannot be told anything.
bool is_parse_error(const boost::system::error_code& error);
answer answer_to(const boost::system::error_code& error, const settings& bounds);

}  // namespace gateway
