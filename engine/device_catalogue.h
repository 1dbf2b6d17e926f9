// What can be opened, as records for the host.
#pragma once

#include <vexcap/records.h>

#include "engine/state/engine_state.h"

namespace vexcap {

/// An array that ends with a record of two nulls, or null when nothing was found. Goes back to freeDevices. `filter`
/// may be null; it sorts video input devices alone.
vex_device* enumDevices(const EngineState& engine, const vex_char* filter);

/// The compressors for AVI files as such an array, of kind 0.
vex_device* enumCodecs(const EngineState& engine);

/// Frees strings and array; stops at the first record with both strings null.
void freeDevices(vex_device* devices);

}  // namespace vexcap
