// Where the lab's programs and data are: beside this program, in a checkout or installed.
#pragma once

#include <filesystem>
#include <string>

namespace tools::lab {

/// A program in this program's own folder. Throws lab_failure with what to build.
std::filesystem::path program_path(const std::string& name);

/// A file of the simulator, such as "topologies/orvalite.json". Throws lab_failure with the places
/// that were looked at.
std::filesystem::path simulator_file(const std::string& name);

/// Where the gateway's page is. Throws likewise.
std::filesystem::path page_folder();

}  // namespace tools::lab
