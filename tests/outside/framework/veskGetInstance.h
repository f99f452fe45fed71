#pragma once
#include "framework/IBase.h"
#include "framework/PLiteral.h"

int veskGetInstance(PLiteral const& id, IBase*& instance);
