#include "engine/state/report.h"

#include <string>

namespace vexcap {
namespace {

constexpr size_t longestMessage = 2047;

/// What the platform says of a code, without the line end and blank that such texts end in.
std::u16string descriptionOf(IMessageBox& box, HRESULT code) {
    std::u16string text = box.Describe(code);
    if (text.empty()) text = formatText(u"Unknown error 0x%0lX", {uint64_t(uint32_t(code))});
    if (text.size() > 1 && text.back() == u'\n') {
        text.pop_back();
        if (text.back() == u'\r') text.pop_back();
    }
    if (text.size() > 1 && text.back() == u' ') text.pop_back();
    return text;
}

}  // namespace

void ReportError(const EngineState& engine, vex_window* window, std::u16string_view text, HRESULT code,
                 const std::vector<FormatArgument>& arguments) {
    if (text.empty()) return;
    IMessageBox& box = engine.platform->messageBox;
    std::u16string message = formatText(text, arguments);
    message.resize(std::min(message.size(), longestMessage));
    if (code < 0) message += formatText(u"\r\nhr = 0x%08x (%s).", {uint64_t(uint32_t(code)), descriptionOf(box, code)});
    box.Show(window, message, textOf(engine.productName));
}

}  // namespace vexcap
