#include "keelanim/base/engineHooks.h"

bool (*TengineHooks::fsDefaultTangentTypes)(std::int32_t& in, std::int32_t& out) = nullptr;
bool (*TengineHooks::fsTangentTypeLocked)(std::int32_t type) = nullptr;
