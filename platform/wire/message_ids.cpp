#include "platform/wire/message_ids.h"

#include <algorithm>

namespace nx {
namespace {

constexpr std::size_t longest_number = 17;

bool is_long(std::string_view id) {
  return id.size() > longest_number || id.find_first_of("eE") != id.npos;
}

// Walks over brackets and strings; everything else is the parser's to check.
class id_finder {
 public:
  explicit id_finder(std::string_view text) : text_(text) {
    skip_blanks();
    if (at_ < text_.size() && text_[at_] == '[') message_depth_ = 2;
  }

  std::vector<std::string_view> find() {
    while ((at_ = text_.find_first_of("\"{}[]", at_)) != text_.npos)
      step(text_[at_++]);
    return std::move(found_);
  }

 private:
  void step(char c) {
    if (c == '"') {
      take_string();
    } else if (c == '{' || c == '[') {
      if (++depth_ == message_depth_ && c == '{') found_.emplace_back();
    } else if (depth_ > 0) {
      --depth_;
    }
  }

  // From after its opening quote.
  void take_string() {
    const auto start = at_;
    while (at_ < text_.size() && text_[at_] != '"')
      at_ += text_[at_] == '\\' ? 2 : 1;
    at_ = std::min(at_, text_.size());
    const bool id = text_.substr(start, at_ - start) == "id";
    ++at_;
    if (id && depth_ == message_depth_ && !found_.empty()) take_id();
  }

  void take_id() {
    skip_blanks();
    if (at_ >= text_.size() || text_[at_] != ':') return;
    ++at_;
    skip_blanks();
    const auto rest = text_.substr(std::min(at_, text_.size()));
    const auto number = rest.substr(0, rest.find_first_not_of("+-.0123456789eE"));
    if (found_.back().empty()) found_.back() = number;
  }

  void skip_blanks() { at_ = std::min(text_.find_first_not_of(" \t\r\n", at_), text_.size()); }

  std::string_view text_;
  std::size_t at_ = 0;
  std::size_t depth_ = 0;
  std::size_t message_depth_ = 1;
  std::vector<std::string_view> found_;
};

// Of the text of a long number, which JSON would take.
bool is_number(std::string_view text) {
  const auto digits = [&text] {
    const auto size = std::min(text.find_first_not_of("0123456789"), text.size());
    text.remove_prefix(size);
    return size;
  };
  if (text.starts_with('-')) text.remove_prefix(1);
  const bool zero = text.starts_with('0');
  const auto whole = digits();
  if (whole == 0 || (zero && whole > 1)) return false;
  if (text.starts_with('.')) {
    text.remove_prefix(1);
    if (digits() == 0) return false;
  }
  if (text.starts_with('e') || text.starts_with('E')) {
    text.remove_prefix(1);
    if (text.starts_with('+') || text.starts_with('-')) text.remove_prefix(1);
    if (digits() == 0) return false;
  }
  return text.empty();
}

}  // namespace

std::vector<std::string_view> number_ids(std::string_view text) {
  return id_finder(text).find();
}

bool some_are_long(const std::vector<std::string_view>& ids) {
  return std::any_of(ids.begin(), ids.end(), is_long);
}

std::string with_short_ids(std::string_view text, const std::vector<std::string_view>& ids) {
  std::string shorter(text);
  for (const auto& id : ids) {
    if (!is_long(id) || !is_number(id)) continue;
    const auto start = static_cast<std::size_t>(id.data() - text.data());
    shorter.replace(start, id.size(), id.size(), ' ');
    shorter[start] = '0';
  }
  return shorter;
}

}  // namespace nx
