#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "host/services/ConfigValue.h"

/// What comes of a mistake.
enum class Severity {
  warning,  ///< the host runs, but not as it was probably meant
  error,    ///< the host ends before it watches anything
};

/// Who says it when the host starts.
enum class Reporter {
  check,   ///< the check's own log
  others,  ///< whoever meets it then: the host, its services, other plug-ins' report
};

/// One mistake in a configuration file, and what comes of it.
struct Finding {
  std::string file;
  FilePosition position;
  Severity severity;
  std::string what;
  std::string key;  ///< the key or the table that it is about, dotted; may be empty
  Reporter reporter = Reporter::check;
};

using Findings = std::vector<Finding>;

/// "error" or "warning".
const char* nameOf(Severity severity);

/// "file:line:column: error|warning: what", without a newline.
std::string lineOf(Finding const& finding);

/// The findings as one JSON array of {file, line, column, severity, what}, over
/// several lines. A byte that is not UTF-8 becomes a replacement character.
std::string jsonOf(Findings const& findings);

bool hasError(Findings const& findings);

/// Orders the findings by place, those of one file before all others.
void sortByPlace(Findings& findings, std::string const& firstFile);

/// Dotted keys and tables, by file.
using KeysByFile = std::map<std::string, std::set<std::string>>;

/// What the check itself reports about.
KeysByFile reportedKeys(Findings const& findings);
