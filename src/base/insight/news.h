// Decides what is worth an event to subscribers of "insight": a monitor's noise is not. Readers get
// values to the last digit; subscribers are informed when a person would notice a difference: a
// decibel figure by a quarter, an age by a factor of two, any other word or count at once. So a
// node at rest is silent, however many subscribe.
//
// Pure functions; any thread, nothing throws.
#pragma once

#include <memory>
#include <string>
#include <utility>

#include "api/lazy_value.h"
#include "base/insight/channel_verdict.h"
#include "platform/wire/json.h"

namespace insight {

inline constexpr float noticed_db = 0.25f;

/// Two levels, in dB or dBm; two missing figures are alike.
bool looks_alike(float told, float now);
/// Two ages, s: younger than a few seconds counts as fresh, whatever the value.
bool looks_as_old(float told, float now);
/// Two sentences, word for word, except for their figures in dB, dBm and s.
bool looks_alike(const std::string& told, const std::string& now);
/// Member by member; a member called "seconds" is ignored.
bool looks_alike(const nx::json_document& told, const nx::json_document& now);

/// Two looks at a channel.
bool looks_alike(const channel_verdict& told, const channel_verdict& now);

/// A value that sends its subscribers only such differences. Counts and flags are sent as they are.
template <auto Getter, class Owner, class... Bound>
std::shared_ptr<nx::api::lazy_value<Getter>> told_value(nx_db& db, const std::string& path,
                                                        const std::shared_ptr<Owner>& owner,
                                                        Bound... bound) {
  using value = nx::api::lazy_value<Getter>;
  auto created = value::create(db, path, owner, std::move(bound)...);
  created->compare_by([](const auto& told, const auto& now) { return looks_alike(told, now); });
  return created;
}

/// The same for an age.
template <auto Getter, class Owner, class... Bound>
std::shared_ptr<nx::api::lazy_value<Getter>> told_age(nx_db& db, const std::string& path,
                                                      const std::shared_ptr<Owner>& owner,
                                                      Bound... bound) {
  auto created = nx::api::lazy_value<Getter>::create(db, path, owner, std::move(bound)...);
  created->compare_by([](const float& told, const float& now) { return looks_as_old(told, now); });
  return created;
}

}  // namespace insight
