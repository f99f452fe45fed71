#pragma once

#include <string>

/// Where a bare name is found in this process's own PATH; empty where it is nowhere: the
/// kernel would take the name for a file of the working folder. What is in a relative
/// folder, or not trusted (host/trust/TrustedPath.h), is passed over. A path stays as it is.
/// @param passedOver if any, takes why the first that would have done was passed over.
std::string resolveExecutable(std::string const& executable, std::string* passedOver = nullptr);
