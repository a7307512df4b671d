#pragma once

// Keelanim: the whole public interface of the animation-curve engine.
// Hosts include this header only.

#include "keelanim/base/angle.h"
#include "keelanim/base/animTime.h"
#include "keelanim/base/arena.h"
#include "keelanim/base/array.h"
#include "keelanim/base/bitField.h"
#include "keelanim/base/clientServer.h"
#include "keelanim/base/debugOutput.h"
#include "keelanim/base/dictionary.h"
#include "keelanim/base/environment.h"
#include "keelanim/base/export.h"
#include "keelanim/base/hashTable.h"
#include "keelanim/base/iffTag.h"
#include "keelanim/base/messageCenter.h"
#include "keelanim/base/metaclass.h"
#include "keelanim/base/numeric.h"
#include "keelanim/base/preferences.h"
#include "keelanim/base/quaternion.h"
#include "keelanim/base/relmark.h"
#include "keelanim/base/sharedObject.h"
#include "keelanim/base/translator.h"
#include "keelanim/base/tstring.h"

#include "keelanim/keys/keyframe.h"
#include "keelanim/keys/keyframeArrays.h"
#include "keelanim/keys/pickParts.h"
#include "keelanim/keys/tangentType.h"

#include "keelanim/curve/curveMessages.h"
#include "keelanim/curve/msgDepot.h"
#include "keelanim/curve/paramCurve.h"
#include "keelanim/curve/paramCurveEnums.h"

#include "keelanim/editing/keyframeAccountant.h"
#include "keelanim/editing/keyframeGroup.h"
#include "keelanim/editing/keyframeHandle.h"
#include "keelanim/editing/moveKeyData.h"
#include "keelanim/editing/paramCurveRange.h"
#include "keelanim/editing/pickKey.h"
#include "keelanim/editing/pickKeyDictionary.h"
#include "keelanim/editing/pickKeyList.h"

#include "keelanim/segments/animCurve.h"
#include "keelanim/segments/bezier.h"
#include "keelanim/segments/easeCurves.h"
#include "keelanim/segments/hermite.h"
#include "keelanim/segments/pluginInterp.h"

#include "keelanim/prefs/prefItems.h"

#include "keelanim/rotation/rotationTriple.h"
#include "keelanim/undo/curveDeltas.h"
#include "keelanim/undo/delta.h"
#include "keelanim/undo/deltaCollection.h"
#include "keelanim/undo/hostApi.h"
