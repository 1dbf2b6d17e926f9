// Port: the boxes that report a failure to a user or ask a question, and the system's words for a code.
#pragma once

#include <vexcap/report.h>
#include <vexcap/window.h>

#include <string>
#include <string_view>

namespace vexcap {

/// Boxes go to the hook of the host where one is set, else to the system. Host's thread but for Describe.
class IMessageBox {
public:
    virtual ~IMessageBox() = default;

    /// Shows a text with one button and waits for it.
    void Show(vex_window* owner, std::u16string_view text, std::u16string_view title) {
        if (!hook) return ShowBox(owner, text, title);
        CallHook(owner, text, title, VEX_BOX_MESSAGE);
    }
    /// Asks a question with Yes and No and waits for the answer.
    bool Ask(vex_window* owner, std::u16string_view text, std::u16string_view title) {
        return hook ? CallHook(owner, text, title, VEX_BOX_QUESTION) != 0 : AskBox(owner, text, title);
    }
    /// The system's words for a code of its own; empty when it has none. Any thread.
    virtual std::u16string Describe(HRESULT code) = 0;

    /// Null gives the boxes back to the system.
    void SetHook(vex_message_hook newHook, void* context) {
        hook = newHook;
        hookContext = context;
    }

private:
    /// Without a user interface the text is written to the error output.
    virtual void ShowBox(vex_window* owner, std::u16string_view text, std::u16string_view title) = 0;
    /// Without a user interface the answer is no.
    virtual bool AskBox(vex_window* owner, std::u16string_view text, std::u16string_view title) = 0;

    int32_t CallHook(vex_window* owner, std::u16string_view text, std::u16string_view title, uint32_t kind) const {
        return hook(hookContext, owner, std::u16string(text).c_str(), std::u16string(title).c_str(), kind);
    }

    vex_message_hook hook = nullptr;
    void* hookContext = nullptr;
};

}  // namespace vexcap
