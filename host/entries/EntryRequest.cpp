#include "host/entries/EntryRequest.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <limits>
#include <nlohmann/json.hpp>
#include <utility>

#include "host/check/KeyRules.h"
#include "host/check/NearestName.h"
#include "host/check/ProgramRules.h"

namespace {

using Json = nlohmann::json;
using Code = ApiError::Code;
using Lines = std::vector<std::string>;

ConfigValue::Content contentOf(Json const& value) {
  switch (value.type()) {
    case Json::value_t::boolean:
      return value.get<bool>();
    case Json::value_t::number_unsigned: {
      constexpr auto kMost = std::numeric_limits<long long>::max();
      const auto number = value.get<unsigned long long>();
      return std::in_range<long long>(number) ? static_cast<long long>(number) : kMost;
    }
    case Json::value_t::number_integer:
      return value.get<long long>();
    case Json::value_t::number_float:
      return value.get<double>();
    case Json::value_t::string:
      return value.get<std::string>();
    case Json::value_t::array:
      return ConfigValue::Other{"an array"};
    case Json::value_t::null:
      return ConfigValue::Other{"null"};
    default:
      return ConfigValue::Other{"an object"};
  }
}

ApiError errorOf(Code code, Lines const& lines) {
  return {code, fmt::format("{}", fmt::join(lines, "\n"))};
}

Lines unknownFields(Json const& request) {
  const auto known = namesOf(kProgramKeys);
  Lines lines;
  for (auto const& [name, value] : request.items()) {
    if (std::ranges::find(known, name) != known.end()) continue;
    lines.push_back(fmt::format("unknown field `{}'{}", name, didYouMean(name, known, "")));
  }
  return lines;
}

/// The request as a file of one program, whose keys stand at its top.
TomlFile fileOf(Json const& request) {
  TomlFile file;
  for (auto const& [name, value] : request.items()) {
    file.entries[name] = {{contentOf(value), {}}, {}};
  }
  return file;
}

Lines wrongTypes(KeyTable const& program) {
  Lines lines;
  for (WatchdogKey const& key : kProgramKeys) {
    const auto fault = faultOf(program, key);
    if (fault && fault->kind == KeyFault::Kind::type) lines.push_back(fault->what);
  }
  if (program.entry("name") == nullptr) lines.emplace_back("`name' is missing");
  return lines;
}

/// No path is longer, and no sensible command line.
constexpr std::size_t kLongestText = 4096;

Lines wrongValues(KeyTable const& program) {
  Lines lines;
  for (WatchdogKey const& key : kProgramKeys) {
    auto const* text = std::get_if<std::string>(
        program.entry(key.name) != nullptr ? &program.entry(key.name)->value.content : nullptr);
    if (text != nullptr && text->find('\0') != std::string::npos) {
      lines.push_back(fmt::format("`{}' has a null in it", key.name));
    } else if (text != nullptr && text->size() > kLongestText) {
      lines.push_back(fmt::format("`{}' is longer than {} bytes", key.name, kLongestText));
    } else if (const auto fault = faultOf(program, key)) {
      lines.push_back(fault->what);
    }
  }
  if (std::string action = actionFault(program); !action.empty()) {
    lines.push_back(std::move(action));
  }
  return lines;
}

/// What does not fit together; for values that are right each by itself.
Lines misfits(KeyTable& program, Findings const& findings, GlobalSettings const& globals) {
  checkProgram(program, {globals.cpuEnabled, globals.memEnabled, globals.instEnabled,
                         static_cast<int>(globals.sampleTime)});
  Lines lines;
  for (Finding const& finding : findings) lines.push_back(finding.what);
  return lines;
}

/// Reads what has been found to be right.
EntrySettings settingsOf(KeyTable const& program) {
  const auto number = [&program](std::string_view key, auto& value) {
    if (const auto given = program.integer(key)) value = std::decay_t<decltype(value)>(*given);
  };
  const auto text = [&program](std::string_view key, std::string& value) {
    if (std::string const* given = program.text(key); given != nullptr) value = *given;
  };
  const auto flag = [&program](std::string_view key, bool& value) {
    if (program.entry(key) != nullptr) value = program.isTrue(key);
  };
  EntrySettings settings;
  text("name", settings.name);
  number("period", settings.period);
  flag("cpu_enabled", settings.cpuEnabled);
  number("cpu_limit", settings.cpuLimit);
  flag("mem_enabled", settings.memEnabled);
  number("mem_limit", settings.memLimit);
  flag("inst_enabled", settings.instEnabled);
  number("inst_limit", settings.instLimit);
  flag("respawn_enabled", settings.respawnEnabled);
  number("respawn_limit", settings.respawnLimit);
  flag("count_only_diff_parents", settings.countOnlyDiffParents);
  flag("count_only_running", settings.countOnlyRunning);
  flag("send_event", settings.sendEvent);
  text("action", settings.action);
  text("executable", settings.executable);
  text("arguments", settings.arguments);
  text("working_dir", settings.workingDir);
  flag("dry_run", settings.dryRun);
  settings.origin = EntryOrigin::control;
  return settings;
}

}  // namespace

std::variant<EntrySettings, ApiError> readEntryRequest(Json const& request,
                                                       GlobalSettings const& globals) {
  if (!request.is_object()) {
    return ApiError{Code::badRequest, "an object is expected, with the settings of one program"};
  }
  if (const Lines lines = unknownFields(request); !lines.empty()) {
    return errorOf(Code::unknownField, lines);
  }
  const TomlFile file = fileOf(request);
  Findings findings;
  KeyTable program(file, "", findings);
  if (const Lines lines = wrongTypes(program); !lines.empty()) {
    return errorOf(Code::badRequest, lines);
  }
  if (const Lines lines = wrongValues(program); !lines.empty()) {
    return errorOf(Code::badValue, lines);
  }
  if (const Lines lines = misfits(program, findings, globals); !lines.empty()) {
    return errorOf(Code::badValue, lines);
  }
  return settingsOf(program);
}
