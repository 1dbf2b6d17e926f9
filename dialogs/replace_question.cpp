#include "dialogs/replace_question.h"

#include "base/text.h"

namespace vexcap {

bool confirmReplace(const EngineState& engine, std::u16string_view path, vex_window* window) {
    if (!engine.platform->folders.Exists(path)) return true;
    const std::u16string question = formatText(engine.Text("ids_savedlgreplace"), {std::u16string(path)});
    return engine.platform->messageBox.Ask(window, question, engine.productName);
}

}  // namespace vexcap
