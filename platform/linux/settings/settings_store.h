// One file of settings, shared with other programs.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include "base/status.h"
#include "platform/linux/settings/settings_text.h"

namespace vexcap {

/// A TOML file that may be missing. Every change makes a new file that then takes the old one's place, so that whoever
/// reads finds the old or the new one, whole, whatever ends the writer. Writers take turns through a lock file beside
/// it. A file that is damaged, too large or a directory counts as empty and is kept under another name by the first
/// change. Any thread; between threads it is as between programs.
class SettingsStore final {
public:
    /// `path` is absolute. Where it is a link the file that it leads to is meant.
    explicit SettingsStore(std::filesystem::path path);

    /// What the file holds; nothing where that cannot be read.
    std::string Read() const;

    /// Why the file cannot be read, with its name; empty where it can be, and where there is none.
    std::string Problem() const;

    /// Gives `name` this value. It is down on the disk then. Waits 2 s for a writer, then VEX_E_BUSY; E_INVALIDARG for
    /// what makes the file larger than 1 MiB. After a failure the file is as it was.
    Status Write(std::string_view name, const SettingValue& value) const;

private:
    const std::filesystem::path file;
};

}  // namespace vexcap
