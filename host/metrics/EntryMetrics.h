#pragma once

#include "host/metrics/Exposition.h"
#include "host/watch/WatchView.h"

/// Adds what concerns single entries, labelled with their names. Instances are put
/// together: their number is bounded by nobody, and so would that of the series be.
void addEntries(Exposition& exposition, WatchView const& view);
