// Boxes where there is no user interface: lines on the error output.
#pragma once

#include "platform/message_box.h"

namespace vexcap {

class ConsoleMessageBox final : public IMessageBox {
public:
    std::u16string Describe(HRESULT code) override;

private:
    /// One block of lines, "title: text".
    void ShowBox(vex_window* owner, std::u16string_view text, std::u16string_view title) override;
    /// Writes the question down and answers no.
    bool AskBox(vex_window* owner, std::u16string_view text, std::u16string_view title) override;
};

}  // namespace vexcap
