#pragma once
#include "framework/PCounter.h"

struct PCounterSync : PCounter {};
