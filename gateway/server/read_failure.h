// What a client is told whose request could not be read: too slow, too long, not HTTP, or clear
// text where TLS is spoken. On the gateway's thread.
#pragma once

#include <boost/system/error_code.hpp>
#include <optional>

#include "gateway/http/exchange.h"
#include "gateway/settings.h"

namespace gateway {

/// The request took longer than it may.
answer too_late(const settings& bounds);

/// Empty for an error that is the end of the connection and not a fault of the request.
std::optional<answer> answer_to_unreadable(const boost::system::error_code& error,
                                           const settings& bounds);

/// Of a TLS handshake that began with GET, HEAD, PUT or POST.
bool was_clear_text(const boost::system::error_code& error);

}  // namespace gateway
