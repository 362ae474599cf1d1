#include "nearest_word.h"

#include <algorithm>

#include <CLI/CLI.hpp>

namespace batch {
namespace {

std::size_t distance(const std::string& a, const std::string& b) {
  std::vector<std::size_t> before(b.size() + 1), last(b.size() + 1), row(b.size() + 1);
  for (std::size_t j = 0; j <= b.size(); ++j)
    last[j] = j;
  for (std::size_t i = 1; i <= a.size(); ++i) {
    row[0] = i;
    for (std::size_t j = 1; j <= b.size(); ++j) {
      row[j] = std::min({last[j] + 1, row[j - 1] + 1, last[j - 1] + (a[i - 1] != b[j - 1])});
      if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1])
        row[j] = std::min(row[j], before[j - 2] + 1);
    }
    before = std::exchange(last, row);
  }
  return last.back();
}

const CLI::App* commandOf(const CLI::App& app, const std::string& name) {
  for (const CLI::App* command : app.get_subcommands([](const CLI::App*) { return true; }))
    if (command->get_name() == name) return command;
  return nullptr;
}

std::vector<std::string> commandNames(const CLI::App& app) {
  std::vector<std::string> names;
  for (const CLI::App* command : app.get_subcommands([](const CLI::App*) { return true; }))
    if (!command->get_group().empty()) names.push_back(command->get_name());
  return names;
}

bool knows(const CLI::App* app, const std::string& option) {
  for (; app; app = app->get_parent())
    if (app->get_option_no_throw(option)) return true;
  return false;
}

std::vector<std::string> optionNames(const CLI::App* app) {
  std::vector<std::string> names;
  for (; app; app = app->get_parent())
    for (const CLI::Option* option : app->get_options())
      if (!option->get_group().empty())
        for (const std::string& name : option->get_lnames())
          names.push_back("--" + name);
  return names;
}

} // namespace

std::string nearestWord(const std::string& typed, const std::vector<std::string>& words) {
  constexpr std::size_t longest = 64;
  if (typed.empty() || typed.size() > longest) return {};
  std::string best;
  std::size_t least = std::max<std::size_t>(1, typed.size() / 3) + 1;
  for (const std::string& word : words)
    if (const std::size_t steps = distance(typed, word); steps < least) least = steps, best = word;
  if (!best.empty()) return best;
  std::vector<std::string> begun;
  std::copy_if(words.begin(), words.end(), std::back_inserter(begun),
               [&](const std::string& word) { return word.starts_with(typed); });
  return begun.size() == 1 ? begun[0] : std::string();
}

std::string didYouMean(const std::string& word) {
  return word.empty() ? std::string() : "; did you mean " + word + "?";
}

std::string mistyped(const CLI::App& app, const std::vector<std::string>& arguments) {
  const CLI::App* command = &app;
  std::string path;
  for (const std::string& argument : arguments) {
    if (argument == "--") break;
    if (argument.starts_with("--")) {
      const std::string option = argument.substr(0, argument.find('='));
      if (!knows(command, option))
        return "lumenara" + path + " has no option " + option +
               didYouMean(nearestWord(option, optionNames(command)));
      continue;
    }
    const std::vector<std::string> below = commandNames(*command);
    if (argument.starts_with("-") || below.empty()) continue;
    const CLI::App* next = commandOf(*command, argument);
    if (!next)
      return "lumenara" + path + " has no command " + argument + didYouMean(nearestWord(argument, below));
    command = next;
    path += " " + argument;
  }
  return {};
}

} // namespace batch
