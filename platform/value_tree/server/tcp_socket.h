// Listening sockets for IPv6, and the choice of interface addresses to listen on.
#pragma once

#include <netinet/in.h>

#include <string>
#include <vector>

#include "platform/value_tree/server/owned_fd.h"

namespace nx {

/// The addresses of an interface that is up: all its link-local ones, since the neighbour may have
/// learnt any of them, and which are bound to the interface anyway; if it has none (the loopback),
/// its first IPv6 address. Empty while the interface is missing, down or without an address.
std::vector<sockaddr_in6> interface_addresses(const std::string& interface_name);

/// Parses an address text such as "::1" or "fe80::1%eth0". Throws std::runtime_error.
sockaddr_in6 parse_address(const std::string& text);

/// Listens; `interface_name` confines the socket to an interface, empty means none. Throws
/// std::system_error.
owned_fd listen_on(sockaddr_in6 address, unsigned port, const std::string& interface_name);

/// The port that the system has chosen for 0.
unsigned bound_port(int fd);

/// "[fe80::1%eth0]:5100"
std::string endpoint_text(const sockaddr_in6& address, unsigned port);

/// Sends small answers at once, and detects a peer that has gone silently.
void tune_connection(int fd);

}  // namespace nx
