// Port: windows that ask the user for something.
#pragma once

#include <vexcap/window.h>

#include <string>
#include <string_view>

namespace vexcap {

/// What the window that asks for the name of a quick recording shows, and whom it tells of its buttons.
struct IQuickRename {
    /// What the name field holds when the window opens.
    virtual std::u16string Name() const = 0;
    /// Asked at each change of the field.
    virtual bool OkEnabled(std::u16string_view name) const = 0;
    /// OK was pressed: true closes the window, false leaves it open with the focus on the name.
    virtual bool Ok(std::u16string_view name, bool dontShowLater) = 0;

protected:
    ~IQuickRename() = default;
};

/// Host's thread.
struct IDialogs {
    virtual ~IDialogs() = default;
    /// Shows the window over `owner` and waits for it. True when OK closed it; without a user interface every window
    /// counts as cancelled.
    virtual bool Show(vex_window* owner, IQuickRename& dialog) = 0;
};

}  // namespace vexcap
