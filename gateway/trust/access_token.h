// The secret that permits more than looking, and its comparison with what a request presents, in a
// time that reveals nothing about either.
#pragma once

#include <array>
#include <string>
#include <string_view>

namespace gateway {

class access_token {
 public:
  static constexpr std::size_t shortest = 16;

  /// The first line of the file. Throws std::runtime_error if it cannot be read, is too short, or
  /// if others than its owner and group can read it.
  static access_token from_file(const std::string& file);
  explicit access_token(std::string_view secret);

  /// `header` is a request's Authorization: "Bearer TOKEN", or "Basic ..." with the token as the
  /// password of any user, which is the form that browsers ask for.
  bool is_shown_by(std::string_view header) const;

 private:
  using digest = std::array<unsigned char, 32>;
  static digest digest_of(std::string_view text);
  bool matches(std::string_view shown) const;

  digest digest_;
};

}  // namespace gateway
