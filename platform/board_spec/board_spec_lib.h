// Constants of the board other than its calibration: read once from a text file of "KEY VALUE"
// lines in the board's folder ("/mnt/board_info/board_spec.conf", under NX_ROOT if that is set).
// Built-in defaults replace a missing file or key, and a value that no board can have, which is
// logged.
#pragma once

#include <map>
#include <string>

class board_spec_lib {
 public:
  static board_spec_lib& instance();

  /// Preset attenuation of the line VOA, dB; "voa_preset_default", 5.0 if absent.
  float get_voa_preset_default() const;

  /// Replaces the constants; for tests.
  void load(const std::string& path);

 private:
  board_spec_lib();
  std::map<std::string, float> values_;
};
