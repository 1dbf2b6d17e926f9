// Windows that a test answers.
#pragma once

#include <functional>
#include <vector>

#include "platform/dialogs.h"

namespace vexcap {

/// One thread.
struct FakeDialogs final : IDialogs {
    bool Show(vex_window* owner, IQuickRename& dialog) override {
        owners.push_back(owner);
        return quickRename && quickRename(dialog);
    }

    std::function<bool(IQuickRename&)> quickRename;  ///< What the user does; without it every window is cancelled.
    std::vector<vex_window*> owners;                 ///< Of the windows that were shown.
};

}  // namespace vexcap
