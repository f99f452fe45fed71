#pragma once

#include <string>

#include "host/watch/Explain.h"
#include "host/watch/Subject.h"

/// What the watchdog does next about an entry, as a sentence, and when.
std::string nextAct(Subject const& subject, Health health);
