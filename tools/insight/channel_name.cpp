#include "tools/insight/channel_name.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cmath>

namespace tools::insight {

namespace {

constexpr double units_of_a_thz = 1e5;
// Speed of light in nm times units of 10 MHz.
constexpr double wavelength_product = 29'979'245'800.0;
// Half a grid of 25 GHz: a name is never closer to another channel.
constexpr double nearest_units = 1250.0;
// Numbers of channels are far below the lowest frequency in THz, and frequencies below wavelengths
// in nm.
constexpr double highest_number = 150.0;
constexpr double highest_thz = 1000.0;
constexpr double highest_nm = 10'000.0;

std::optional<double> number_in(std::string word) {
  for (const auto* unit : {"THz", "thz", "nm"}) {
    if (word.ends_with(unit)) word.erase(word.size() - std::string_view(unit).size());
  }
  while (word.ends_with(' '))
    word.pop_back();
  double number = 0.0;
  const char* end = word.data() + word.size();
  const auto [rest, error] = std::from_chars(word.data(), end, number);
  if (word.empty() || error != std::errc{} || rest != end || number <= 0.0) return std::nullopt;
  return number;
}

double frequency_of(double number) {
  if (number < highest_thz) return number * units_of_a_thz;
  return number < highest_nm ? wavelength_product / number : number;
}

}  // namespace

std::string thz_text(unsigned frequency) {
  auto text = fmt::format("{:.5f}", frequency / units_of_a_thz);
  constexpr std::size_t kept = 3;  // removable trailing zeros: two decimals stay
  for (std::size_t cut = 0; cut < kept && text.ends_with('0'); ++cut)
    text.pop_back();
  return text;
}

std::optional<channel_place> find_channel(const std::string& word,
                                          const std::vector<channel_place>& known) {
  const auto number = number_in(word);
  if (!number || known.empty()) return std::nullopt;
  if (*number < highest_number) {
    const auto found = std::find_if(known.begin(), known.end(), [&](const channel_place& each) {
      return static_cast<double>(each.id) == *number;
    });
    return found == known.end() ? std::nullopt : std::make_optional(*found);
  }
  const double wanted = frequency_of(*number);
  const auto distance = [&](const channel_place& each) {
    return std::abs(each.frequency - wanted);
  };
  const auto nearest = std::min_element(
      known.begin(), known.end(),
      [&](const auto& one, const auto& other) { return distance(one) < distance(other); });
  return distance(*nearest) <= nearest_units ? std::make_optional(*nearest) : std::nullopt;
}

}  // namespace tools::insight
