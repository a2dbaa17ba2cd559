#include "gateway/trust/access_token.h"

#include <fmt/format.h>
#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/sha.h>
#include <sys/stat.h>

#include <algorithm>
#include <cctype>
#include <fstream>
#include <optional>
#include <stdexcept>
#include <vector>

namespace gateway {

namespace {

/// The part after the scheme, whose case does not matter, and the blanks that follow it.
std::optional<std::string_view> behind(std::string_view scheme, std::string_view header) {
  if (header.size() <= scheme.size() || header[scheme.size()] != ' ') return std::nullopt;
  for (std::size_t i = 0; i < scheme.size(); ++i) {
    if (std::tolower(static_cast<unsigned char>(header[i])) != scheme[i]) return std::nullopt;
  }
  return header.substr(std::min(header.find_first_not_of(' ', scheme.size()), header.size()));
}

std::optional<std::string> password_of(std::string_view encoded) {
  constexpr std::size_t longest = 4096;
  if (encoded.size() % 4 != 0 || encoded.empty() || encoded.size() > longest) return std::nullopt;
  std::vector<unsigned char> bytes(encoded.size() / 4 * 3);
  const int size =
      EVP_DecodeBlock(bytes.data(), reinterpret_cast<const unsigned char*>(encoded.data()),
                      static_cast<int>(encoded.size()));
  if (size < 0) return std::nullopt;
  std::string text(bytes.begin(), bytes.end());
  // The padding is decoded to zeros.
  const auto padding = encoded.size() - 1 - encoded.find_last_not_of('=');
  if (padding > 2) return std::nullopt;
  text.resize(static_cast<std::size_t>(size) - padding);
  const auto colon = text.find(':');
  if (colon == text.npos) return std::nullopt;
  return text.substr(colon + 1);
}

}  // namespace

access_token access_token::from_file(const std::string& file) {
  struct stat status {};
  std::ifstream in(file);
  if (!in || ::stat(file.c_str(), &status) != 0) {
    throw std::runtime_error("Cannot read the token file " + file);
  }
  if ((status.st_mode & S_IROTH) != 0) {
    throw std::runtime_error("Others can read the token file " + file + "; chmod o-r");
  }
  std::string secret;
  std::getline(in, secret);
  while (!secret.empty() && std::isspace(static_cast<unsigned char>(secret.back())))
    secret.pop_back();
  if (secret.size() < shortest) {
    throw std::runtime_error(
        fmt::format("The token in {} is shorter than {} characters", file, shortest));
  }
  return access_token(secret);
}

access_token::access_token(std::string_view secret) : digest_(digest_of(secret)) {}

access_token::digest access_token::digest_of(std::string_view text) {
  digest made{};
  SHA256(reinterpret_cast<const unsigned char*>(text.data()), text.size(), made.data());
  return made;
}

bool access_token::matches(std::string_view shown) const {
  const auto other = digest_of(shown);
  return CRYPTO_memcmp(digest_.data(), other.data(), digest_.size()) == 0;
}

bool access_token::is_shown_by(std::string_view header) const {
  if (const auto bearer = behind("bearer", header)) return matches(*bearer);
  const auto basic = behind("basic", header);
  const auto password = basic ? password_of(*basic) : std::nullopt;
  return password && matches(*password);
}

}  // namespace gateway
