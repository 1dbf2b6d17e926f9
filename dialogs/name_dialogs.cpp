#include "dialogs/name_dialogs.h"

#include <algorithm>

#include "base/text.h"
#include "settings/naming.h"
#include "settings/setting.h"

namespace vexcap {
namespace {

/// Tells the user of a character that a file name cannot have.
bool isValidName(const EngineState& engine, vex_window* owner, std::u16string_view name) {
    if (!hasForbiddenCharacter(name)) return true;
    engine.platform->messageBox.Show(owner, engine.Text("ids_filenr"), engine.productName);
    return false;
}

}  // namespace

CFileOptionsDlg::CFileOptionsDlg(const EngineState& engineState, vex_window* parent)
    : engine(engineState),
      owner(parent),
      labels({u"yymmddHHMMSS", u"yyyymmddHHMMSS", u"yy-mm-dd-HH-MM-SS", u"yyyy-mm-dd-HH-MM-SS",
              engine.Text("ids_nameformatnnnn")}),
      chosen(readNumber(engine.rootKey.get(), setting::FileNameFomat)),
      shownPrefix(readText(engine.rootKey.get(), setting::FileNamePrefix)) {
    BuildSample();
}

void CFileOptionsDlg::putFormat(uint32_t index) {
    chosen = withinLimits(setting::FileNameFomat, index);
    BuildSample();
}

void CFileOptionsDlg::putPrefix(std::u16string_view text) {
    shownPrefix = text.substr(0, setting::FileNamePrefix.most);
    BuildSample();
}

void CFileOptionsDlg::BuildSample() {
    const std::u16string_view prefix = trimmed(shownPrefix);
    if (isValidName(engine, owner, prefix)) shownSample = sampleName(engine.Settings(), chosen, prefix);
}

bool CFileOptionsDlg::ok() {
    const std::u16string_view prefix = trimmed(shownPrefix);
    if (!isValidName(engine, owner, prefix)) return false;
    writeText(engine.rootKey.get(), setting::FileNamePrefix, prefix).ignore();
    writeNumber(engine.rootKey.get(), setting::FileNameFomat, chosen).ignore();
    return true;
}

CDirOptionsDlg::CDirOptionsDlg(const EngineState& engineState)
    : engine(engineState),
      labels({engine.Text("ids_none"), formatText(u"%s(YYYYMMDD)", {engine.Text("ids_date")}),
              formatText(u"%s(YYYY)/%s(MM)/%s(DD)",
                         {engine.Text("ids_year"), engine.Text("ids_month"), engine.Text("ids_day")})}),
      chosen(readNumber(engine.rootKey.get(), setting::DirSub)),
      base(readText(engine.rootKey.get(), setting::CapturePath)) {
    if (base.empty()) base = standardFolder(engine.Settings());
}

void CDirOptionsDlg::putSubfolder(uint32_t index) { chosen = withinLimits(setting::DirSub, index); }

void CDirOptionsDlg::putBasePath(std::u16string_view path) {
    if (path.size() <= setting::CapturePath.most) base = path;
}

bool CDirOptionsDlg::ok() {
    writeNumber(engine.rootKey.get(), setting::DirSub, chosen).ignore();
    if (base.empty()) return false;
    writeText(engine.rootKey.get(), setting::CapturePath, base).ignore();
    return true;
}

bool CQuickRenameDlg::OkEnabled(std::u16string_view name) const { return !trimmed(name).empty(); }

bool CQuickRenameDlg::Ok(std::u16string_view name, bool dontShowLater) {
    const std::u16string_view wanted = trimmed(name);
    if (wanted.empty() || !isValidName(engine, info.parentWindow, wanted)) return false;
    info.fileName = wanted;
    prompt = !dontShowLater;
    return true;
}

}  // namespace vexcap
