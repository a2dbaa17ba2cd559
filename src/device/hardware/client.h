// Connects every proxy to its nexel.
#pragma once

#include <memory>
#include <string>

namespace boost::asio {
class io_context;
}
class nexel_client_api;

namespace device::hardware {

/// Never blocks; the connection is made in the background.
std::shared_ptr<nexel_client_api> make_client(std::shared_ptr<boost::asio::io_context> io,
                                              const std::string& socket_path);

}  // namespace device::hardware
