#include "host/veskctl/Completion.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <string_view>

#include "host/check/WatchdogKeys.h"
#include "host/veskctl/Commands.h"

namespace ctl {

namespace {

using Words = std::vector<std::string>;

/// Of the options that take one of a few words.
Words valuesOf(std::string_view option) {
  if (option == "--color") return {"auto", "always", "never"};
  if (option == "--sort") return {"health", "name", "cpu", "mem"};
  if (option == "--action") return {kActions.begin(), kActions.end()};
  return {};
}

/// Options and their values in words of their own, as some shells give them and others
/// do not. The last word stays one.
Words split(Words const& words) {
  Words result;
  for (std::string const& word : words) {
    const std::size_t sign = word.find('=');
    if (word.starts_with("--") && sign != std::string::npos) {
      result.push_back(word.substr(0, sign));
      result.push_back(word.substr(sign + 1));
    } else if (word != "=") {
      result.push_back(word);
    }
  }
  if (!words.empty() && words.back() == "=") result.emplace_back();
  return result;
}

/// The option of that name, long or short, if it takes a value; of the command first.
CLI::Option const* optionWithValue(CLI::App const& command, CLI::App const& all,
                                   std::string const& word) {
  for (CLI::App const* app : {&command, &all}) {
    auto const* option = app->get_option_no_throw(word);
    if (option != nullptr && option->get_items_expected_min() > 0) return option;
  }
  return nullptr;
}

void addOptions(CLI::App const& app, Words& words) {
  for (CLI::Option const* option : app.get_options()) {
    for (std::string const& name : option->get_lnames()) words.push_back("--" + name);
  }
}

/// What stands before the last word, as far as it matters.
struct Before {
  Command const* command = nullptr;
  std::string socket;
  std::string pending;  ///< option that the last word is the value of
  bool hasName = false;
};

Before readBefore(CLI::App const& app, Words const& words) {
  Before before;
  CLI::App const* current = &app;
  for (std::size_t i = 0; i + 1 < words.size(); ++i) {
    std::string const& word = words[i];
    if (auto const* option = optionWithValue(*current, app, word)) {
      if (option->check_lname("socket")) before.socket = words[i + 1];
      if (i + 2 == words.size()) before.pending = word;
      ++i;
    } else if (word.starts_with('-')) {
      continue;
    } else if (before.command == nullptr) {
      const auto found = std::find_if(kCommands.begin(), kCommands.end(),
                                      [&](Command const& row) { return word == row.name; });
      if (found == kCommands.end()) continue;
      before.command = &*found;
      current = app.get_subcommand(word);
    } else {
      before.hasName = true;
    }
  }
  return before;
}

}  // namespace

Words complete(Words words, NamesOf const& namesOf) {
  Options options;
  CLI::App app;
  declareOptions(app, options);
  // What a shell replaces is the whole of the last word.
  const std::size_t sign = words.empty() ? std::string::npos : words.back().find('=');
  const bool isJoined = sign != std::string::npos && words.back().starts_with("--");
  const std::string beginning = isJoined ? words.back().substr(0, sign + 1) : "";
  words = split(words);
  if (words.empty()) words.emplace_back();

  const Before before = readBefore(app, words);
  Words candidates;
  if (!before.pending.empty()) {
    candidates = valuesOf(before.pending);
  } else if (words.back().starts_with('-')) {
    addOptions(app, candidates);
    if (before.command != nullptr) {
      addOptions(*app.get_subcommand(before.command->name), candidates);
    }
  } else if (before.command == nullptr) {
    for (Command const& row : kCommands) candidates.emplace_back(row.name);
  } else if (before.command->takesName && !before.hasName &&
             before.command->name != std::string_view("add")) {
    candidates = namesOf(before.socket);
  }
  std::erase_if(candidates,
                [&](std::string const& candidate) { return !candidate.starts_with(words.back()); });
  for (std::string& candidate : candidates) candidate.insert(0, beginning);
  return candidates;
}

}  // namespace ctl
