#include "sim/plant/topology_json.h"

#include <fmt/format.h>
#include <rapidjson/document.h>
#include <rapidjson/error/en.h>

#include <algorithm>
#include <fstream>
#include <sstream>

#include "platform/wire/json_conversion.h"
#include "sim/plant/topology_values.h"

namespace sim {

namespace {

[[noreturn]] void refuse(const std::string& where, const std::string& found,
                         const std::string& accepted) {
  throw topology_error(fmt::format("{}: found {}, accepted is {}", where, found, accepted));
}

/// One object of the file: hands out its members by name, and knows which were never asked for.
class object_reader {
 public:
  object_reader(const rapidjson::Value& object, std::string where)
      : object_(object), where_(std::move(where)) {
    if (!object.IsObject()) refuse(where_, nx::json_type_name(object), "an object");
  }

  const rapidjson::Value* take(const std::string& name) {
    known_.push_back(name);
    const auto member = object_.FindMember(name.c_str());
    return member == object_.MemberEnd() ? nullptr : &member->value;
  }

  /// Visitor of `visit_values`. Ranges are checked here so that the text can name the place in the
  /// file.
  void operator()(const char* name, double& value, double low, double high, const char* unit) {
    const rapidjson::Value* found = take(name);
    if (found == nullptr) return;
    const std::string range = fmt::format("a number from {} to {} {}", low, high, unit);
    if (!found->IsNumber()) refuse(at(name), nx::json_type_name(*found), range);
    value = found->GetDouble();
    if (value < low || value > high) refuse(at(name), fmt::format("{}", value), range);
  }

  void flag(const char* name, bool& value) {
    const rapidjson::Value* found = take(name);
    if (found == nullptr) return;
    if (!found->IsBool()) refuse(at(name), nx::json_type_name(*found), "true or false");
    value = found->GetBool();
  }

  void text(const char* name, std::string& value) {
    const rapidjson::Value* found = take(name);
    if (found == nullptr) return;
    if (!found->IsString()) refuse(at(name), nx::json_type_name(*found), "a string");
    value = found->GetString();
  }

  std::string at(const std::string& name) const {
    return where_.empty() ? name : where_ + "." + name;
  }

  void refuse_unknown() const {
    for (const auto& member : object_.GetObject()) {
      const std::string name = member.name.GetString();
      if (std::find(known_.begin(), known_.end(), name) != known_.end()) continue;
      refuse(at(name), "an unknown name", fmt::format("one of {}", fmt::join(known_, ", ")));
    }
  }

 private:
  const rapidjson::Value& object_;
  std::string where_;
  std::vector<std::string> known_;
};

template <class Part>
void read_part(object_reader& parent, const char* name, Part& part) {
  const rapidjson::Value* found = parent.take(name);
  if (found == nullptr) return;
  object_reader reader(*found, parent.at(name));
  visit_values(part, reader);
  if constexpr (std::is_same_v<Part, amplifier_settings>) reader.flag("enabled", part.enabled);
  if constexpr (std::is_same_v<Part, osc_settings>) reader.text("neighbour", part.neighbour);
  if constexpr (std::is_same_v<Part, compensator_settings>) {
    reader.text("partNumber", part.part_number);
  }
  reader.refuse_unknown();
}

std::optional<std::vector<unsigned>> read_lit(const rapidjson::Value& found,
                                              const std::string& where) {
  const std::string accepted = "\"all\", \"none\" or an array of channels in units of 10 MHz";
  if (found.IsString() && std::string(found.GetString()) == "all") return std::nullopt;
  if (found.IsString() && std::string(found.GetString()) == "none") return std::vector<unsigned>{};
  if (!found.IsArray()) refuse(where, nx::json_text(found), accepted);
  std::vector<unsigned> channels;
  for (const auto& each : found.GetArray()) {
    if (!each.IsUint()) refuse(where, nx::json_text(each), accepted);
    channels.push_back(each.GetUint());
  }
  return channels;
}

node_settings read_node(const rapidjson::Value& value, const std::string& where) {
  object_reader reader(value, where);
  std::string product = models::default_name;
  reader.text("product", product);
  node_settings node = default_node(product);
  reader.text("partNumber", node.part_number);
  reader.flag("coldstart", node.coldstart);
  visit_values(node, reader);
  visit_devices(node, [&](const char* name, auto& part) { read_part(reader, name, part); });
  if (const rapidjson::Value* lit = reader.take("lit")) node.lit = read_lit(*lit, reader.at("lit"));
  if (const rapidjson::Value* taps = reader.take("taps")) {
    object_reader of_taps(*taps, reader.at("taps"));
    for (std::size_t i = 0; i < node.taps.size(); ++i) {
      read_part(of_taps, tap_names[i], node.taps[i]);
    }
    of_taps.refuse_unknown();
  }
  reader.refuse_unknown();
  return node;
}

fibre_settings read_fibre(const rapidjson::Value& value, const std::string& where) {
  object_reader reader(value, where);
  fibre_settings fibre;
  visit_values(fibre, reader);
  reader.flag("raman", fibre.raman);
  reader.refuse_unknown();
  return fibre;
}

/// One or two elements.
const rapidjson::Value& pair_of(const rapidjson::Value& value, const char* name) {
  if (!value.IsArray()) refuse(name, nx::json_type_name(value), "an array of one or two objects");
  if (value.Empty() || value.Size() > 2) {
    refuse(name, fmt::format("{} elements", value.Size()), "an array of one or two objects");
  }
  return value;
}

void read_seed(object_reader& file, std::uint64_t& seed) {
  const rapidjson::Value* found = file.take("seed");
  if (found == nullptr) return;
  if (!found->IsUint64()) refuse("seed", nx::json_text(*found), "an integer from 0 up");
  seed = found->GetUint64();
}

void read_fibres(object_reader& file, topology& what) {
  const rapidjson::Value* found = file.take("fibres");
  if (found == nullptr) return;
  const auto& fibres = pair_of(*found, "fibres");
  for (rapidjson::SizeType i = 0; i < fibres.Size(); ++i) {
    what.fibres[i] = read_fibre(fibres[i], fmt::format("fibres[{}]", i));
  }
  // Both fibres of a cable are alike unless the file says otherwise.
  if (fibres.Size() == 1) what.fibres[1] = what.fibres[0];
}

}  // namespace

topology read_topology(const std::string& json_text) {
  rapidjson::Document document;
  document.Parse(json_text.data(), json_text.size());
  if (document.HasParseError()) {
    throw topology_error(fmt::format("not JSON at byte {}: {}", document.GetErrorOffset(),
                                     rapidjson::GetParseError_En(document.GetParseError())));
  }
  object_reader file(document, "");
  topology what;
  read_seed(file, what.seed);
  const rapidjson::Value* nodes = file.take("nodes");
  if (nodes == nullptr) refuse("nodes", "nothing", "an array of one or two objects");
  const auto& pair = pair_of(*nodes, "nodes");
  for (rapidjson::SizeType i = 0; i < pair.Size(); ++i) {
    what.nodes.push_back(read_node(pair[i], fmt::format("nodes[{}]", i)));
  }
  read_fibres(file, what);
  file.text("peer", what.peer);
  file.refuse_unknown();
  check(what);
  return what;
}

topology load_topology(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) throw topology_error(path + ": cannot be read");
  std::ostringstream text;
  text << file.rdbuf();
  try {
    return read_topology(text.str());
  } catch (const topology_error& error) {
    throw topology_error(path + ": " + error.what());
  }
}

}  // namespace sim
