#pragma once

// Every undo record of curve edits, by family.

#include "keelanim/undo/curveDelta.h"
#include "keelanim/undo/editDeltas.h"
#include "keelanim/undo/keyDeltas.h"
#include "keelanim/undo/settingDeltas.h"
