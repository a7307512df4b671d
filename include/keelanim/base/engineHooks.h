#pragma once

#include "keelanim/base/export.h"

#include <cstdint>

// TengineHooks: services that the engine's higher layers lend to its lower
// ones, so that dependencies point one way. The key record asks through them
// for the default tangent types and for tangent types that lock a key; the
// layers that know the answers (preferences, the plug-in registry) install
// their functions when the library loads. A hook left null answers "none".
struct KEEL_API TengineHooks {
    // The key-tangent preference's default in- and out-types; false (and
    // nothing written) when there is no such preference.
    static bool (*fsDefaultTangentTypes)(std::int32_t& in, std::int32_t& out);
    // Whether a tangent type of a registered plug-in locks its key's type.
    static bool (*fsTangentTypeLocked)(std::int32_t type);

    static bool defaultTangentTypes(std::int32_t& in, std::int32_t& out)
    {
        return fsDefaultTangentTypes != nullptr && fsDefaultTangentTypes(in, out);
    }
    static bool tangentTypeLocked(std::int32_t type)
    {
        return fsTangentTypeLocked != nullptr && fsTangentTypeLocked(type);
    }
};
