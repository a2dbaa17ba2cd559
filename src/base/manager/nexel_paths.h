// Sockets of the node's device services, under NX_ROOT if that is set.
#pragma once

namespace manager::nexel_paths {

inline constexpr const char* system_info = "/tmp/nexels/system_info";
inline constexpr const char* system_start = "/tmp/nexels/system_start";
inline constexpr const char* preamp = "/tmp/nexels/preamp";
inline constexpr const char* booster = "/tmp/nexels/booster";
inline constexpr const char* osc = "/tmp/nexels/osc1";
inline constexpr const char* wss_edge = "/tmp/nexels/wss_edge";
inline constexpr const char* sfp = "/tmp/nexels/sfp/0";
inline constexpr const char* voa = "/tmp/nexels/voa_sfp";
inline constexpr const char* leds = "/tmp/nexels/led_selka";
inline constexpr const char* twin_wss = "/tmp/nexels/wss";
inline constexpr const char* selka_ocm = "/tmp/nexels/ocm";
inline constexpr const char* tdcm = "/tmp/nexels/tdcm";
inline constexpr const char* optical_switch = "/tmp/nexels/ols_optical_switch/1";

}  // namespace manager::nexel_paths
