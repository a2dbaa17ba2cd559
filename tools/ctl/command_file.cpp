// save and load: saving and restoring the parameters of a node. A tree accepts one write at a time
// and has no transactions, so load reports the outcome of each.
#include <fmt/format.h>
#include <rapidjson/document.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>

#include "platform/wire/json_conversion.h"
#include "platform/wire/json_rpc.h"
#include "platform/wire/nx_client_exception.h"
#include "platform/wire/shown_text.h"
#include "tools/common/value_text.h"
#include "tools/ctl/context.h"
#include "tools/ctl/exit_code.h"
#include "tools/ctl/format.h"
#include "tools/ctl/parameter_file.h"

namespace tools::ctl {

namespace {

// Says that a start is complete, which is for the program that writes the parameters to say; not a
// parameter.
constexpr const char* start_signal = "config/redisConfigStatus";

std::string product_of(context& with) {
  return with.ask("get", "data/product")["data/product"].GetString();
}

bool is_writable(const nx::json_value& record) {
  const auto* capabilities = nx::member_of(record, "capabilities");
  const auto* write = capabilities ? nx::member_of(*capabilities, "write") : nullptr;
  return write && write->IsTrue();
}

std::string read_from(std::istream& file, const std::string& name) {
  // A full band has some thousand parameters of less than a hundred bytes each.
  constexpr std::size_t most = 16UL << 20;
  std::string text(most + 1, '\0');
  file.read(text.data(), static_cast<std::streamsize>(text.size()));
  if (file.bad()) throw usage_error("cannot read " + name);
  text.resize(static_cast<std::size_t>(file.gcount()));
  if (text.size() > most) throw usage_error(name + " is too large for a file of parameters");
  return text;
}

std::string read_all(const std::string& name) {
  if (name == "-") return read_from(std::cin, "standard input");
  std::ifstream file(name);
  if (!file || std::filesystem::is_directory(name)) throw usage_error("cannot read " + name);
  return read_from(file, name);
}

void write_to(const std::string& name, const std::string& text) {
  std::ofstream file(name);
  if (!(file << text << std::flush)) throw usage_error("cannot write " + name);
}

/// An existing file stays intact until the new one is complete. A pipe or a device is written, not
/// replaced, and so is what a link points to.
void write_all(const std::string& name, const std::string& text) {
  if (name == "-") {
    fmt::print("{}", text);
    return;
  }
  std::error_code failure;
  const auto kind = std::filesystem::status(name, failure).type();
  using enum std::filesystem::file_type;
  if (kind == directory) throw usage_error(fmt::format("cannot write {}: it is a folder", name));
  if (kind != regular && kind != not_found) return write_to(name, text);
  const auto real = kind == regular ? std::filesystem::canonical(name).string() : name;
  const auto fresh = real + ".new";
  try {
    write_to(fresh, text);
  } catch (...) {
    std::filesystem::remove(fresh, failure);
    throw;
  }
  std::filesystem::rename(fresh, real, failure);
  if (failure) throw usage_error(fmt::format("cannot write {}: {}", name, failure.message()));
}

/// The parameters on the node that would be in a file saved now.
parameter_file present_parameters(context& with) {
  const auto records = with.ask("info", "config/**");
  const auto values = with.ask("get", "config/**");
  parameter_file file{product_of(with), {}};
  for (const auto& member : values.GetObject()) {
    const std::string path = member.name.GetString();
    if (path == start_signal || member.value.IsNull()) continue;
    if (!records.HasMember(path.c_str()) || !is_writable(records[path.c_str()])) continue;
    if (const auto error = error_in(member.value)) {
      throw nx_client_exception{error->code, error->message, path};
    }
    file.parameters.emplace_back(path, nx::json_text(member.value));
  }
  return file;
}

int save(context& with, const std::string& name) {
  const auto file = present_parameters(with);
  write_all(name, file_text(file));
  if (name == "-") return exit_ok;
  if (with.json) {
    fmt::print("{{\"saved\":{},\"product\":{}}}\n", file.parameters.size(), quoted(file.product));
  } else {
    fmt::print(stderr, "{} parameter{} of {} saved\n", file.parameters.size(),
               file.parameters.size() == 1 ? "" : "s", nx::shown_text(file.product));
  }
  return exit_ok;
}

/// The outcome for the parameters of a file.
struct outcome {
  rows written, refused;
  std::vector<std::string> same;     ///< already had the value
  std::vector<std::string> missing;  ///< not on this node
  std::vector<std::string> kept;     ///< written on this node, and not in the file
  std::vector<std::string> untried;  ///< not reached before the connection ended
  int code = exit_ok;
};

void load_one(context& with, const std::string& path, const std::string& value,
              const nx::json_value& present, outcome& into) {
  const auto* found = nx::member_of(present, path.c_str());
  if (!found) {
    into.missing.push_back(path);
    return;
  }
  if (nx::json_text(*found) == value) {
    into.same.push_back(path);
    return;
  }
  try {
    with.ask("set", path, ",\"value\":" + value);
    into.written.emplace_back(path, value);
  } catch (const nx_client_exception& error) {
    if (error.code == nx_error::not_connected || error.code == nx_error::no_answer) throw;
    into.refused.emplace_back(path, error_text({error.code, error.message}));
  }
}

void find_kept(context& with, const parameter_file& file, outcome& into) {
  for (const auto& present : present_parameters(with).parameters) {
    const auto& in_file = file.parameters;
    const bool known = std::any_of(in_file.begin(), in_file.end(), [&present](const auto& each) {
      return each.first == present.first;
    });
    if (!known) into.kept.push_back(present.first);
  }
}

outcome load_all(context& with, const parameter_file& file) {
  outcome result;
  const auto present = with.ask("get", "config/**");
  find_kept(with, file, result);
  for (auto at = file.parameters.begin(); at != file.parameters.end(); ++at) {
    try {
      load_one(with, at->first, at->second, present, result);
    } catch (const nx_client_exception& error) {
      // The one in progress may or may not have been accepted.
      result.refused.emplace_back(at->first, error_text({error.code, error.message}));
      for (auto rest = at + 1; rest != file.parameters.end(); ++rest)
        result.untried.push_back(rest->first);
      result.code = error.code == nx_error::no_answer ? exit_no_answer : exit_not_connected;
      return result;
    }
  }
  if (!result.refused.empty() || !result.missing.empty()) result.code = exit_refused;
  return result;
}

void print_people(const outcome& result) {
  rows table;
  for (const auto& [path, value] : result.written)
    table.emplace_back("written  " + path,
                       value_text(path, nx::parse_json(value), detail::with_unit));
  for (const auto& [path, reason] : result.refused)
    table.emplace_back("refused  " + path, "(" + reason + ")");
  for (const auto& path : result.missing)
    table.emplace_back("left     " + path, "not on this node");
  for (const auto& path : result.kept)
    table.emplace_back("kept     " + path, "written here, not in the file");
  for (const auto& path : result.untried)
    table.emplace_back("left     " + path, "the connection has ended");
  fmt::print("{}{} written, {} already so, {} refused, {} left\n", columns(table),
             result.written.size(), result.same.size(), result.refused.size(),
             result.missing.size() + result.untried.size());
}

void print_json(const outcome& result) {
  nx::json_document told(rapidjson::kObjectType);
  auto& allocator = told.GetAllocator();
  const auto add = [&](const char* name, nx::json_value value) {
    told.AddMember(rapidjson::StringRef(name), value, allocator);
  };
  const auto list = [&](const char* name, const std::vector<std::string>& paths) {
    nx::json_value array(rapidjson::kArrayType);
    for (const auto& path : paths)
      array.PushBack(nx::to_json(path, allocator), allocator);
    add(name, std::move(array));
  };
  nx::json_value written(rapidjson::kObjectType);
  for (const auto& [path, value] : result.written)
    written.AddMember(nx::to_json(path, allocator),
                      nx::json_value(nx::parse_json(value), allocator), allocator);
  nx::json_value refused(rapidjson::kObjectType);
  for (const auto& [path, reason] : result.refused)
    refused.AddMember(nx::to_json(path, allocator), nx::to_json(reason, allocator), allocator);
  add("written", std::move(written));
  add("refused", std::move(refused));
  list("same", result.same);
  list("missing", result.missing);
  list("kept", result.kept);
  list("untried", result.untried);
  fmt::print("{}\n", nx::json_text(told));
}

int load(context& with, const std::string& name, bool any_product) {
  auto file = parsed_file(read_all(name));
  const auto product = product_of(with);
  if (file.product != product && !any_product) {
    throw usage_error(
        fmt::format("the file is from {}, this node is {}; --any-product writes what fits",
                    file.product, product));
  }
  order_for_writing(file);
  const auto result = load_all(with, file);
  with.json ? print_json(result) : print_people(result);
  return result.code;
}

}  // namespace

void declare_file_commands(CLI::App& app, action& chosen) {
  auto name = std::make_shared<std::string>();
  auto any_product = std::make_shared<bool>(false);
  auto* command = app.add_subcommand("save", "Save the parameters of a node to a file");
  command->add_option("file", *name, "File to write; - for standard output")->required();
  command->footer(
      "Saves every parameter under config/ that has a value, except config/redisConfigStatus,\n"
      "which says that the configuration is complete. Channels themselves are not saved.\n"
      "Example:\n  lumoractl save node.json\n");
  command->callback(
      [&chosen, name] { chosen = [name](context& with) { return save(with, *name); }; });

  command = app.add_subcommand("load", "Write the parameters of a file to a node");
  command->add_option("file", *name, "File to read; - for standard input")->required();
  command->add_flag("--any-product", *any_product, "Accept a file from another model");
  command->footer(
      "Prints what was written, what the node refused, what was left out because this node does\n"
      "not have it, and what it keeps because the file does not mention it.\n"
      "Exit code 0 only if the node now matches the whole file. Nothing is rolled back if some\n"
      "are refused: fix the cause and load again, which writes only what differs.\n"
      "Examples:\n"
      "  lumoractl load node.json && lumoractl set config/redisConfigStatus true\n"
      "  lumoractl save - | ssh spare-node lumoractl load -\n");
  command->callback([&chosen, name, any_product] {
    chosen = [=](context& with) { return load(with, *name, *any_product); };
  });
}

}  // namespace tools::ctl
