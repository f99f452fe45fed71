#pragma once

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <charconv>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <type_traits>

namespace ctl {

/// Options whose value is a number or one of a few words. What is wrong with a value is
/// said in a sentence, and the help shows no more than the name of the type.

/// The text as a number of this range.
/// @param option as it is typed, for the sentence.
/// @throws CLI::ValidationError with the sentence when it is none.
template <class Number>
Number numberFrom(std::string_view option, std::string_view text, Number least, Number most) {
  Number number{};
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error == std::errc::invalid_argument || end != text.data() + text.size()) {
    throw CLI::ValidationError(fmt::format("`{}' is `{}', but a {} is expected", option, text,
                                           std::is_integral_v<Number> ? "whole number" : "number"));
  }
  // No comparison holds for what is not a number.
  if (error != std::errc{} || !(number >= least && number <= most)) {
    throw CLI::ValidationError(
        fmt::format("`{}' is {}, but {} to {} is expected", option, text, least, most));
  }
  return number;
}

/// The long one of names such as "-w,--watch".
inline std::string longName(std::string const& names) { return names.substr(names.find("--")); }

/// @param take is given the number; it outlives the parsing.
template <class Number>
CLI::Option* addNumber(CLI::App& app, std::string const& names, std::string const& help,
                       Number least, Number most,
                       std::type_identity_t<std::function<void(Number)>> take) {
  const auto read = [=, option = longName(names)](std::string const& text) {
    take(numberFrom(option, text, least, most));
  };
  return app.add_option_function<std::string>(names, read, help);
}

/// @param words and @param value outlive the parsing.
template <class Value>
CLI::Option* addWord(CLI::App& app, std::string const& names, std::string const& help,
                     std::map<std::string, Value> const& words, Value& value) {
  const auto read = [&words, &value, option = longName(names)](std::string const& text) {
    const auto found = words.find(text);
    if (found != words.end()) {
      value = found->second;
      return;
    }
    std::string known;
    for (auto const& [word, meaning] : words) known += (known.empty() ? "" : ", ") + word;
    throw CLI::ValidationError(
        fmt::format("`{}' is `{}', but one of {} is expected", option, text, known));
  };
  return app.add_option_function<std::string>(names, read, help);
}

}  // namespace ctl
