#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>

#include "host/veskctl/Units.h"

namespace ctl {

using Json = nlohmann::json;

/// Fields of the host's answers. What another version leaves out is taken as not known;
/// what is of another type than was agreed throws `Json::exception`.

/// @return null where there is none.
Json const& field(Json const& object, const char* key);

std::string textOf(Json const& object, const char* key, std::string const& otherwise = "");
std::optional<double> numberOf(Json const& object, const char* key);
long long integerOf(Json const& object, const char* key, long long otherwise = 0);
bool isTrue(Json const& object, const char* key);
std::optional<WallTime> timeOf(Json const& object, const char* key);

/// An array: empty where there is none.
Json const& listOf(Json const& object, const char* key);

/// Texts for tables: "-" for what is not known.
std::string countOf(Json const& object, const char* key);
std::string percentOf(Json const& object, const char* key);
std::string memoryOf(Json const& object, const char* key);

}  // namespace ctl
