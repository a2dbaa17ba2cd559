#include "main/options.h"

#include <boost/program_options.hpp>
#include <iostream>

namespace {

namespace po = boost::program_options;

constexpr unsigned highest_port = 65535;

void require_port(unsigned port) {
  if (port > highest_port) throw po::error("no such port");
}

po::options_description describe(options& values) {
  po::options_description description("Available options");
  description.add_options()("help", "Print help message")(
      "port,p", po::value(&values.port)->default_value(values.port)->notifier(require_port),
      "listening socket port number (default value: port")(
      "interface_name,i", po::value(&values.interface_name)->default_value(values.interface_name),
      "name of the osc ethernet interface default: interface_name")(
      "product,d", po::value(&values.product)->default_value(values.product),
      "name of the product running the manager, default: product");
  return description;
}

/// False if the command line is not understood or asks for help.
bool read(int argc, const char** argv, const po::options_description& description) {
  try {
    po::variables_map given;
    // Without an empty list of positional words, a stray word would be silently ignored.
    const po::positional_options_description no_words;
    po::command_line_parser parser(argc, argv);
    po::store(parser.options(description).positional(no_words).run(), given);
    po::notify(given);
    return given.count("help") == 0;
  } catch (...) {
    return false;
  }
}

}  // namespace

std::optional<options> parse_options(int argc, const char** argv) {
  options values;
  const auto description = describe(values);
  if (read(argc, argv, description)) return values;
  std::cout << description << std::endl;
  return std::nullopt;
}
