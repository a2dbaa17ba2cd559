// Where the lab's programs and data are: next to this program, in a checkout or installed.
#pragma once

#include <filesystem>
#include <string>

namespace tools::lab {

/// A program in this program's own folder. Throws lab_failure, saying what to build.
std::filesystem::path program_path(const std::string& name);

/// A file of the simulator, such as "topologies/orvalite.json". Throws lab_failure with the places
/// searched.
std::filesystem::path simulator_file(const std::string& name);

/// Folder of the gateway's page. Throws likewise.
std::filesystem::path page_folder();

}  // namespace tools::lab
