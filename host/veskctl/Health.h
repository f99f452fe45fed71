#pragma once

#include <string>
#include <vector>

#include "host/veskctl/Fields.h"
#include "host/veskctl/Text.h"

namespace ctl {

/// What the host says of a program, and what we make of it.
struct Health {
  const char* word;
  Colour colour;
  bool isOk;
};

/// A word of a newer host counts as the worst.
Health const& healthOf(Json const& entry);

/// Its place from the worst, 0, on.
std::size_t rankOf(Health const& health);

/// The word of the host, as a cell or a sentence shows it.
std::string healthWord(Json const& entry);

/// "3 missing, 1 ok", the worst first.
std::string summarise(std::vector<Json> const& entries, View const& view);

/// The entries of a status that `--check` judges: those that the host has not come to yet,
/// though it makes its passes, are neither well nor not.
std::vector<Json> judgedOf(Json const& status, WallTime now);

/// "nginx (missing), redis (high)", or empty when all are ok.
std::string listOfNotOk(std::vector<Json> const& entries);

}  // namespace ctl
