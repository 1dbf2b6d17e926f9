// What the exported functions share: each tests its arguments, calls, catches and translates. No logic.
#pragma once

#include <vexcap/vexcap.h>

#include "engine/capture_context.h"

namespace vexcap {

/// Characters of the fields that a host has for paths.
constexpr size_t pathRoom = 260;

inline CaptureContext* contextOf(vexcap_context* context) { return reinterpret_cast<CaptureContext*>(context); }

/// Runs `action`; out of memory, or anything else thrown below, becomes `failure`.
template <typename Answer, typename Action>
Answer guarded(Answer failure, Action action) noexcept {
    try {
        return action();
    } catch (...) {
        return failure;
    }
}

/// For exports without an answer.
template <typename Action>
void act(vexcap_context* context, Action action) noexcept {
    if (!context) return;
    try {
        action(*contextOf(context));
    } catch (...) {  // out of memory: what was asked for did not happen
    }
}

/// Asks a context; null gives `failure`, too.
template <typename Answer, typename Action>
Answer ask(vexcap_context* context, Answer failure, Action action) noexcept {
    if (!context) return failure;
    return guarded<Answer>(failure, [&] { return action(*contextOf(context)); });
}

}  // namespace vexcap
