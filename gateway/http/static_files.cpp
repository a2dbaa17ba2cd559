#include "gateway/http/static_files.h"

#include <array>
#include <fstream>
#include <utility>

#include "platform/value_tree/path_pattern.h"

namespace gateway {

namespace {

namespace fs = std::filesystem;

constexpr std::array<std::pair<std::string_view, const char*>, 8> types{{
    {".html", "text/html; charset=utf-8"},
    {".css", "text/css; charset=utf-8"},
    {".js", "text/javascript; charset=utf-8"},
    {".mjs", "text/javascript; charset=utf-8"},
    {".json", "application/json"},
    {".svg", "image/svg+xml"},
    {".png", "image/png"},
    {".txt", "text/plain; charset=utf-8"},
}};

const char* type_of(std::string_view name) {
  for (const auto& [ending, type] : types) {
    if (name.ends_with(ending)) return type;
  }
  return nullptr;
}

bool is_plain(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '.' ||
         c == '_' || c == '-';
}

bool is_safe_segment(std::string_view segment) {
  if (segment.empty() || segment.front() == '.') return false;
  for (const char c : segment) {
    if (!is_plain(c)) return false;
  }
  return true;
}

std::optional<std::string> contents_of(const fs::path& file) {
  std::error_code error;
  if (!fs::is_regular_file(file, error)) return std::nullopt;
  const auto size = fs::file_size(file, error);
  if (error || size > static_files::largest_file) return std::nullopt;
  std::ifstream in(file, std::ios::binary);
  std::string text(size, '\0');
  in.read(text.data(), static_cast<std::streamsize>(size));
  if (!in) return std::nullopt;
  return text;
}

}  // namespace

bool is_safe_name(std::string_view name) {
  if (name.empty() || name.ends_with('/')) return false;
  while (!name.empty()) {
    const auto [segment, rest] = nx::first_segment(name);
    if (!is_safe_segment(segment)) return false;
    name = rest;
  }
  return true;
}

answer static_files::get(std::string_view path) const {
  std::string name(path == "/" ? "index.html" : path.substr(1));
  const char* type = type_of(name);
  if (!type || !is_safe_name(name)) return refusal(404, "No such page");
  auto text = contents_of(folder_ / name);
  if (!text) return refusal(404, "No such page");
  answer made;
  made.type = type;
  made.body = std::move(*text);
  made.headers.emplace_back("Cache-Control", "no-cache");
  return made;
}

}  // namespace gateway
