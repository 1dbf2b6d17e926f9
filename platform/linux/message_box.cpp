#include "platform/linux/message_box.h"

#include <cstdio>
#include <cstring>

#include "base/text.h"
#include "platform/linux/errno_status.h"

namespace vexcap {
void ConsoleMessageBox::ShowBox(vex_window*, std::u16string_view text, std::u16string_view title) {
    std::string lines = title.empty() ? "" : toUtf8(title) + ": ";
    for (const char c : toUtf8(text))
        if (c != '\r') lines += c;
    std::fprintf(stderr, "%s\n", lines.c_str());
}

bool ConsoleMessageBox::AskBox(vex_window* owner, std::u16string_view text, std::u16string_view title) {
    ShowBox(owner, text, title);
    return false;
}

std::u16string ConsoleMessageBox::Describe(HRESULT code) {
    const int number = errnoFromStatus(code);
    return number ? toUtf16(std::strerror(number)) : std::u16string();
}

}  // namespace vexcap
