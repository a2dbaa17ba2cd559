// The only form in which remote::api sees any peer: what to ask it for, and its values by the
// column of its product family. A value that a family does not have is refused with a fixed text,
// since polled values publish it. Families differ only in their facts.
//
// Called from several threads at once; nothing changes after construction. Getters throw nx_error
// -22: the family does not have the value, or the peer has not delivered it yet.
#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/manager/remote/device/value_table.h"
#include "device/subscriber.h"

namespace manager::remote::device {

using subscriber_ptr = std::shared_ptr<::device::subscriber>;
using known_number = std::optional<::device::reading<float>>;

/// Paths that are subscribed to together, and the log texts before and after.
struct path_group {
  const char* starting = "";
  const char* complete = "";
  std::vector<::device::wanted_path> paths;
};

/// A value that the peer has and reports as an error.
struct failing_value {
  std::string path;  ///< on the peer's tree
  std::chrono::steady_clock::time_point since;
};

struct family_facts {
  family column = family::unknown;
  const char* starting = "";           ///< told before the line's paths are subscribed
  const char* starting_channels = "";  ///< and a channel's
  bool is_embedded_ila = false;        ///< an in-line amplifier that measures the spans
  bool has_osnr = false;               ///< of each channel
  bool compensates = false;            ///< dispersion
};

class interface {
 public:
  /// What the getters read, for the line as a whole and for a channel.
  path_group line_paths() const;
  path_group channel_paths(unsigned id) const;

  bool is_embedded_ila() const { return facts_.is_embedded_ila; }
  bool has_osnr() const { return facts_.has_osnr; }

  /// The value of the getter of that name: float or std::string, as in its row. `part` is the
  /// channel's identifier or the direction, if the value belongs to one.
  template <class Result>
  Result get(const subscriber_ptr& values, operation what, const std::string& part = "") const;

  /// The number behind the getter of that name; a truth value is 1 or 0. Empty for a constant, a
  /// refusal or a text, and while the subscription does not know it.
  known_number find_known(const subscriber_ptr& values, operation what,
                          const std::string& part = "") const;

  /// Peers of this family report the value behind the getter of that name.
  bool reports(operation what) const;

  /// Empty while the peer reports a value of the line behind the getter of that name, measured or
  /// not, and if the family or this peer does not have it.
  std::optional<failing_value> find_failing(const subscriber_ptr& values, operation what) const;

 protected:
  explicit interface(const family_facts& facts) : facts_(facts) {}

 private:
  const family_facts facts_;
};

}  // namespace manager::remote::device
