// How recordings get their names and folders without the user typing them.
#pragma once

#include <vexcap/settings.h>

#include <string>
#include <string_view>

#include "base/status.h"
#include "settings/recording_info.h"
#include "settings/settings_ports.h"

namespace vexcap {

/// Fill `fileName` and `directory` by the remembered rules. The folder is made; a failure to make it is ignored.
/// A name is never cut: one that is too long shows when it becomes part of a path.
void loadFileName(CWizardBaseInfo& info);
void loadDirectory(CWizardBaseInfo& info);

/// A name as loadFileName would build it now from a format (VEX_NAME_..., 0 to 4) and a prefix; the sequence number
/// stays where it is.
std::u16string sampleName(const SettingsPorts& ports, uint32_t format, std::u16string_view prefix);

/// A folder of the application in the user's documents, which is made; the current one where there is none.
std::u16string standardFolder(const SettingsPorts& ports);

/// `directory` and `fileName` joined into `fullPath`. False when the path is longer than 259 characters; `fullPath` is
/// empty then.
bool combinePath(CWizardBaseInfo& info);

/// Takes an extension away that the recording gives again: ".mp4", ".avi" or ".mwv". A ".wmv" stays.
void removeExtension(std::u16string& name);

/// Gives `fullPath` the extension of its format, unless it has it: ".wmv" for a broadcast, else ".mp4" for an encoder,
/// ".avi" for AVI, ".wmv" otherwise. An empty path stays empty.
void normaliseExtension(CWizardBaseInfo& info);

/// True when a name holds one of < > : " / \ | ? *
bool hasForbiddenCharacter(std::u16string_view name);
/// Without white space at either end.
std::u16string_view trimmed(std::u16string_view text);

/// vexcap_auto_path, and the same in astro mode: the host asks for what is remembered.
Result<std::u16string> autoPath(const SettingsPorts& ports, const vex_name_rules& rules, std::u16string_view extension);

}  // namespace vexcap
