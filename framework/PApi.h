#pragma once

/// Marks what a library of the framework offers to others; everything else is
/// built hidden.
#define VESK_API __attribute__((visibility("default")))
