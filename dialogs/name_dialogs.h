// What three small dialogs do: the windows that show them only pass on what the user types and presses.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "engine/state/engine_state.h"
#include "platform/dialogs.h"
#include "settings/recording_info.h"

namespace vexcap {

/// Chooses the form of file names and their prefix.
class CFileOptionsDlg final {
public:
    /// Reads what is remembered. `parent` owns the boxes.
    CFileOptionsDlg(const EngineState& engineState, vex_window* parent);

    const std::vector<std::u16string>& formats() const { return labels; }
    uint32_t format() const { return chosen; }
    const std::u16string& prefix() const { return shownPrefix; }
    /// An example of a name by these choices and the present time; it stays as it was when the prefix cannot be, which
    /// is told in a box.
    const std::u16string& sample() const { return shownSample; }
    void putFormat(uint32_t index);
    /// Takes as much as the field holds, 259 characters.
    void putPrefix(std::u16string_view text);
    /// OK: stores and gives true, or tells what is wrong and gives false, with the focus to go to the prefix.
    bool ok();

private:
    void BuildSample();

    const EngineState& engine;
    vex_window* const owner;
    std::vector<std::u16string> labels;
    uint32_t chosen = 0;
    std::u16string shownPrefix;
    std::u16string shownSample;
};

/// Chooses the base folder and the folders below it.
class CDirOptionsDlg final {
public:
    explicit CDirOptionsDlg(const EngineState& engineState);

    const std::vector<std::u16string>& subfolders() const { return labels; }
    uint32_t subfolder() const { return chosen; }
    const std::u16string& basePath() const { return base; }
    void putSubfolder(uint32_t index);
    /// A path of more than 259 characters cannot be kept: the former one stays.
    void putBasePath(std::u16string_view path);
    /// OK: stores, and gives true when the window closes. Without a base path it stays open.
    bool ok();

private:
    const EngineState& engine;
    std::vector<std::u16string> labels;
    uint32_t chosen = 0;
    std::u16string base;
};

/// Asks for the name of a quick recording.
class CQuickRenameDlg final : public IQuickRename {
public:
    /// `promptFlag` is the host's: OK stores there whether the dialog is to come again.
    CQuickRenameDlg(const EngineState& engineState, CWizardBaseInfo& record, uint8_t& promptFlag)
        : engine(engineState), info(record), prompt(promptFlag) {}

    std::u16string Name() const override { return info.fileName; }
    bool OkEnabled(std::u16string_view name) const override;
    bool Ok(std::u16string_view name, bool dontShowLater) override;

private:
    const EngineState& engine;
    CWizardBaseInfo& info;
    uint8_t& prompt;
};

}  // namespace vexcap
