// Port: the boxes that tell a user of a failure or ask a question, and the system's words for a code.
#pragma once

#include <vexcap/window.h>

#include <string>
#include <string_view>

namespace vexcap {

struct IMessageBox {
    virtual ~IMessageBox() = default;
    /// Shows a text with one button and waits for it; without a user interface it is written to the error output.
    virtual void Show(vex_window* owner, std::u16string_view text, std::u16string_view title) = 0;
    /// Asks a question with Yes and No and waits for the answer. Without a user interface the answer is no.
    virtual bool Ask(vex_window* owner, std::u16string_view text, std::u16string_view title) = 0;
    /// The system's words for a code of its own; empty when it has none. Any thread.
    virtual std::u16string Describe(HRESULT code) = 0;
};

}  // namespace vexcap
