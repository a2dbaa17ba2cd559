// Constants of the board that are no calibration: read once from a text file "KEY VALUE" in the
// board's folder ("/mnt/board_info/board_spec.conf", below NX_ROOT when that is set); built-in
// defaults stand in for a missing file or key, and for a value that no board has, which is logged.
#pragma once

#include <map>
#include <string>

class board_spec_lib {
 public:
  static board_spec_lib& instance();

  /// Preset attenuation of the line VOA, dB; "voa_preset_default", 5.0 when absent.
  float get_voa_preset_default() const;

  /// Replaces what was read; for tests.
  void load(const std::string& path);

 private:
  board_spec_lib();
  std::map<std::string, float> values_;
};
