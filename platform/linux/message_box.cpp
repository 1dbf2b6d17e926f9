#include "platform/linux/message_box.h"

#include <cstdio>
#include <cstring>

#include "base/text.h"
#include "platform/linux/errno_status.h"

namespace vexcap {
namespace {

struct CodeText {
    HRESULT code;
    std::u16string_view text;
};
constexpr CodeText codeTexts[] = {
    {E_NOTIMPL, u"Not offered here"},
    {E_NOINTERFACE, u"No such interface"},
    {E_POINTER, u"Invalid pointer"},
    {E_FAIL, u"Unspecified failure"},
    {E_UNEXPECTED, u"Not possible in this state"},
    {E_INVALIDARG, u"Invalid argument"},
    {E_OUTOFMEMORY, u"Out of memory"},
    {VEX_E_INSUFFICIENT_BUFFER, u"The buffer is too small"},
    {VEX_E_CANCELLED, u"Cancelled by the user"},
    {VEX_E_NO_ENCODER, u"No encoder fits the choice"},
};

}  // namespace

void ConsoleMessageBox::Show(vex_window*, std::u16string_view text, std::u16string_view title) {
    std::string lines = title.empty() ? "" : toUtf8(title) + ": ";
    for (const char c : toUtf8(text))
        if (c != '\r') lines += c;
    std::fprintf(stderr, "%s\n", lines.c_str());
}

bool ConsoleMessageBox::Ask(vex_window* owner, std::u16string_view text, std::u16string_view title) {
    Show(owner, text, title);
    return false;
}

std::u16string ConsoleMessageBox::Describe(HRESULT code) {
    for (const CodeText& known : codeTexts)
        if (known.code == code) return std::u16string(known.text);
    const int number = errnoFromStatus(code);
    return number ? toUtf16(std::strerror(number)) : std::u16string();
}

}  // namespace vexcap
