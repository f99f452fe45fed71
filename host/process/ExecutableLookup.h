#pragma once

#include <string>

/// Where a bare name is found in this process's own PATH; the name itself where it
/// is nowhere, for the kernel to say so. What is in a relative folder, or not trusted
/// (host/trust/TrustedPath.h), is passed over. A path stays as it is.
std::string resolveExecutable(std::string const& executable);
