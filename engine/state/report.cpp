#include "engine/state/report.h"

#include <string>

#include "base/codes.h"

namespace vexcap {
namespace {

constexpr size_t longestMessage = 2047;

/// Cuts the line end and the blank that the system's texts end in.
void cutEnd(std::u16string& text) {
    if (text.size() > 1 && text.back() == u'\n') {
        text.pop_back();
        if (text.back() == u'\r') text.pop_back();
    }
    if (text.size() > 1 && text.back() == u' ') text.pop_back();
}

}  // namespace

std::u16string ResultText(const EngineState& engine, HRESULT code) {
    std::u16string text(codeText(code));
    if (text.empty()) text = engine.platform->messageBox.Describe(code);
    cutEnd(text);
    if (!text.empty()) return text;
    return formatText(code < 0 ? u"Unknown error 0x%0lX" : u"Done, with 0x%0lX", {uint64_t(uint32_t(code))});
}

void ReportError(const EngineState& engine, vex_window* window, std::u16string_view text, HRESULT code,
                 const std::vector<FormatArgument>& arguments) {
    if (text.empty()) return;
    std::u16string message = formatText(text, arguments);
    message.resize(std::min(message.size(), longestMessage));
    if (code < 0) message += formatText(u"\r\nhr = 0x%08x (%s).", {uint64_t(uint32_t(code)), ResultText(engine, code)});
    engine.platform->log.Write(VEX_LOG_INFO, u"Box: %s", message);
    engine.platform->messageBox.Show(window, message, engine.productName);
}

void ReportUnreadSettings(const EngineState& engine, std::u16string_view problem) {
    if (problem.empty()) return;
    engine.platform->log.Write(VEX_LOG_WARNING, u"Settings cannot be read, standard values hold: %s", problem);
}

}  // namespace vexcap
