// The question before a file is replaced.
#pragma once

#include <vexcap/window.h>

#include <string_view>

#include "engine/state/engine_state.h"

namespace vexcap {

/// True when nothing is at `path`, or the user agrees to replace it.
bool confirmReplace(const EngineState& engine, std::u16string_view path, vex_window* window);

}  // namespace vexcap
