// The page's files: plain names under one folder, read at each request, so that the page can be
// edited while the gateway runs. On the gateway's thread; throws nothing.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "gateway/http/exchange.h"

namespace gateway {

class static_files {
 public:
  static constexpr std::size_t largest_file = 4 * 1024 * 1024;

  explicit static_files(std::filesystem::path folder) : folder_(std::move(folder)) {}

  /// `path` as decoded from the request; "/" is index.html. 404 for anything that is not a file of
  /// the page.
  answer get(std::string_view path) const;

 private:
  const std::filesystem::path folder_;
};

/// Segments of letters, digits, '.', '_' and '-', none of which begins with a dot. Without the
/// leading '/'.
bool is_safe_name(std::string_view name);

}  // namespace gateway
