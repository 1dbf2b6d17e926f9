// Boxes that nobody has to click away: they keep what they were to show.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "platform/message_box.h"

namespace vexcap {

/// One thread.
class FakeMessageBox final : public IMessageBox {
public:
    struct Shown {
        vex_window* owner;
        std::u16string text;
        std::u16string title;
    };

    std::u16string Describe(HRESULT code) override {
        const auto found = descriptions.find(code);
        return found == descriptions.end() ? std::u16string() : found->second;
    }

    std::vector<Shown> shown;
    std::vector<Shown> asked;
    bool answer = false;                             ///< To every question: true is yes.
    std::map<HRESULT, std::u16string> descriptions;  ///< What Describe knows.
    std::function<void()> whileOpen;                 ///< What happens while the box waits for its user.

private:
    void ShowBox(vex_window* owner, std::u16string_view text, std::u16string_view title) override {
        shown.push_back({owner, std::u16string(text), std::u16string(title)});
        if (whileOpen) whileOpen();
    }
    bool AskBox(vex_window* owner, std::u16string_view text, std::u16string_view title) override {
        asked.push_back({owner, std::u16string(text), std::u16string(title)});
        return answer;
    }
};

}  // namespace vexcap
