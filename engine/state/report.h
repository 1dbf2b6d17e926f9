// The one place where a failure reaches the user.
#pragma once

#include <vexcap/window.h>

#include <string_view>
#include <vector>

#include "base/text.h"
#include "engine/state/engine_state.h"

namespace vexcap {

/// What a code means: this library's words, else the system's without the line end and blank that these end in.
std::u16string ResultText(const EngineState& engine, HRESULT code);

/// Shows a box with the formatted text and, for a negative code, the code and what it means. Blocks until it is closed.
/// An empty text shows nothing.
void ReportError(const EngineState& engine, vex_window* window, std::u16string_view text, HRESULT code,
                 const std::vector<FormatArgument>& arguments = {});

/// A warning in the log for settings that are stored and cannot be read, none where `problem` is empty.
void ReportUnreadSettings(const EngineState& engine, std::u16string_view problem);

}  // namespace vexcap
