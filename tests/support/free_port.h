// A TCP port of the loopback that was free a moment ago.
#pragma once

namespace test {

/// 0 where there is no IPv6 on the loopback.
unsigned free_port();

}  // namespace test
