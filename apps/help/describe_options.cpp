#include "describe_options.h"

#include <string>
#include <vector>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

namespace {

using Json = nlohmann::ordered_json;

std::vector<std::string> namesOf(const CLI::Option& option) {
  std::vector<std::string> names;
  for (const std::string& name : option.get_snames())
    names.push_back("-" + name);
  for (const std::string& name : option.get_lnames())
    names.push_back("--" + name);
  if (names.empty()) names.push_back(option.get_name(true));
  return names;
}

Json optionOf(const CLI::Option& option) {
  const bool flag = option.get_items_expected_max() == 0;
  return {{"names", namesOf(option)},
          {"value", flag ? std::string() : option.get_type_name()},
          {"text", option.get_description()},
          {"required", option.get_required()}};
}

Json describe(const CLI::App& app) {
  Json all = {{"name", app.get_name()}, {"text", app.get_description()}, {"footer", app.get_footer()}};
  all["options"] = all["arguments"] = all["commands"] = Json::array();
  for (const CLI::Option* option : app.get_options())
    if (!option->get_group().empty())
      all[option->get_positional() ? "arguments" : "options"].push_back(optionOf(*option));
  for (const CLI::App* command : app.get_subcommands({}))
    all["commands"].push_back(describe(*command));
  return all;
}

} // namespace

void addDescription(CLI::App& app) {
  app.add_flag_callback("--describe", [&app] { throw CLI::CallForVersion(describe(app).dump(2), 0); })
      ->group("");
}
