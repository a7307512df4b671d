#pragma once

#include "keelanim/base/export.h"

// The release stamp of the installed engine, such as "0.1.0". It comes from
// the small libRelmark that every engine library links, so that a host can
// tell which build it has loaded.
extern "C" KEEL_API const char* relmarkVersion();
