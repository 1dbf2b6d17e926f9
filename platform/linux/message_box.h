// Failures told where there is no user interface: on the error output.
#pragma once

#include "platform/message_box.h"

namespace vexcap {

struct ConsoleMessageBox final : IMessageBox {
    /// One block of lines, "title: text".
    void Show(vex_window* owner, std::u16string_view text, std::u16string_view title) override;
    /// Nobody is there to ask: writes the question down and says no.
    bool Ask(vex_window* owner, std::u16string_view text, std::u16string_view title) override;
    std::u16string Describe(HRESULT code) override;
};

}  // namespace vexcap
