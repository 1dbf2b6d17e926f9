// Comparing identifiers.
#pragma once

#include <vexcap/types.h>

#include <cstring>

inline bool operator==(const vex_guid& a, const vex_guid& b) { return std::memcmp(&a, &b, sizeof a) == 0; }
