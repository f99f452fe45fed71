#include "host/check/Finding.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <string_view>
#include <tuple>

const char* nameOf(Severity severity) { return severity == Severity::error ? "error" : "warning"; }

std::string lineOf(Finding const& finding) {
  return atPosition(finding.file, finding.position) + nameOf(finding.severity) + ": " +
         finding.what;
}

std::string jsonOf(Findings const& findings) {
  using Json = nlohmann::ordered_json;
  constexpr int kIndent = 2;
  Json array = Json::array();
  for (Finding const& finding : findings) {
    array.push_back(Json{{"file", finding.file},
                         {"line", finding.position.line},
                         {"column", finding.position.column},
                         {"severity", nameOf(finding.severity)},
                         {"what", finding.what}});
  }
  return array.dump(kIndent, ' ', false, Json::error_handler_t::replace);
}

bool hasError(Findings const& findings) {
  return std::ranges::find(findings, Severity::error, &Finding::severity) != findings.end();
}

void sortByPlace(Findings& findings, std::string const& firstFile) {
  const auto place = [&firstFile](Finding const& finding) {
    return std::make_tuple(finding.file != firstFile, finding.position,
                           std::string_view(finding.what));
  };
  std::ranges::stable_sort(findings, [&place](Finding const& left, Finding const& right) {
    return place(left) < place(right);
  });
}

KeysByFile reportedKeys(Findings const& findings) {
  KeysByFile keys;
  for (Finding const& finding : findings) {
    if (finding.reporter == Reporter::check) keys[finding.file].insert(finding.key);
  }
  return keys;
}
