// The parameters of a node as a file: written by `lumoractl save`, read by `load`. Pure.
//
//   {
//     "format": "lumora parameters 1",
//     "product": "ORVA-LITE",
//     "parameters": {
//       "config/automationMode": "embedded",
//       "config/client/19140000/rx/wantedPowerOffset": 4.5
//     }
//   }
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace tools::ctl {

struct parameter_file {
  std::string product;                                          ///< as the node reports it
  std::vector<std::pair<std::string, std::string>> parameters;  ///< path and JSON text
};

/// One parameter per line, sorted by path, so that two files can be compared line by line.
std::string file_text(parameter_file what);

/// Throws usage_error, saying what is wrong.
parameter_file parsed_file(const std::string& text);

/// In the order in which a regulating node can accept them without moving light twice: a mode that
/// ends regulation first, a channel's own parameters before the mode that hands it to the loop, a
/// mode that allows regulation last.
void order_for_writing(parameter_file& file);

}  // namespace tools::ctl
