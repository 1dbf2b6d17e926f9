#include "settings/naming.h"

#include <algorithm>
#include <atomic>

#include "base/civil_time.h"
#include "base/text.h"
#include "settings/setting.h"

namespace vexcap {
namespace {

constexpr size_t longestPath = 259;

/// Number of the last name of this process that was given one.
std::atomic<uint32_t> sequence = 0;

CivilTime localTime(const SettingsPorts& ports) { return civilTime(ports.clock.LocalFileTime()); }

struct Stamp {
    const vex_char* format;
    bool fullYear;
};

/// By VEX_NAME_...
constexpr Stamp stamps[] = {{u"%s%02d%02u%02u%02u%02u%02u", false},
                            {u"%s%04d%02u%02u%02u%02u%02u", true},
                            {u"%s%02d-%02u-%02u-%02u-%02u-%02u", false},
                            {u"%s%04d-%02u-%02u-%02u-%02u-%02u", true}};

std::u16string buildName(uint32_t format, std::u16string_view prefix, const CivilTime& time, uint32_t number) {
    if (format == VEX_NAME_SEQUENCE) return formatText(u"%s%04u", {std::u16string(prefix), uint64_t(number)});
    const Stamp& stamp = stamps[format];
    return formatText(stamp.format, {std::u16string(prefix), int64_t(stamp.fullYear ? time.year : time.year % 100),
                                     uint64_t(time.month), uint64_t(time.day), uint64_t(time.hour),
                                     uint64_t(time.minute), uint64_t(time.second)});
}

/// Advances the sequence when the format counts.
std::u16string nextName(const SettingsPorts& ports, uint32_t format, std::u16string_view prefix) {
    return buildName(format, prefix, localTime(ports), format == VEX_NAME_SEQUENCE ? ++sequence : 0);
}

std::u16string joined(std::u16string_view folder, std::u16string_view name) {
    std::u16string path(folder);
    if (!path.ends_with(u'/')) path += u'/';
    return path += name;
}

/// The folder below `base`, which stands for the standard one when it is empty.
std::u16string buildFolder(const SettingsPorts& ports, std::u16string_view base, uint32_t subfolders) {
    std::u16string folder = base.empty() ? standardFolder(ports) : std::u16string(base);
    if (folder.size() > 1 && (folder.ends_with(u'/') || folder.ends_with(u'\\'))) folder.pop_back();
    if (subfolders == VEX_FOLDERS_NONE) return folder;
    const CivilTime time = localTime(ports);
    return joined(folder, formatText(subfolders == VEX_FOLDERS_DATE ? u"%04d%02u%02u" : u"%04d/%02u/%02u",
                                     {int64_t(time.year), uint64_t(time.month), uint64_t(time.day)}));
}

Status makeFolder(const SettingsPorts& ports, std::u16string_view path) {
    IFolders& folders = ports.folders;
    return folders.IsFolder(path) ? S_OK : folders.Create(path);
}

constexpr int32_t remembered = -1;
static_assert(remembered == VEX_NAME_AS_REMEMBERED && remembered == VEX_FOLDERS_AS_REMEMBERED);

bool isListed(int32_t choice, int32_t most) { return choice >= remembered && choice <= most; }

/// What a rule says, or what is remembered where it says nothing.
std::u16string ruleOr(ISettingsKey* key, const vex_char* rule, const vex_setting& setting) {
    return rule ? std::u16string(rule) : readText(key, setting);
}
uint32_t ruleOr(ISettingsKey* key, int32_t rule, const vex_setting& setting) {
    return rule == remembered ? readNumber(key, setting) : uint32_t(rule);
}

}  // namespace

void loadFileName(CWizardBaseInfo& info) {
    ISettingsKey* const key = info.settings();
    info.fileName =
        nextName(info.ports, readNumber(key, setting::FileNameFomat), readText(key, setting::FileNamePrefix));
}

void loadDirectory(CWizardBaseInfo& info) {
    ISettingsKey* const key = info.settings();
    info.directory = buildFolder(info.ports, readText(key, setting::CapturePath), readNumber(key, setting::DirSub));
    makeFolder(info.ports, info.directory).ignore();  // the recording reports a folder that is not there
}

std::u16string sampleName(const SettingsPorts& ports, uint32_t format, std::u16string_view prefix) {
    return buildName(format, prefix, localTime(ports), sequence + 1);
}

std::u16string standardFolder(const SettingsPorts& ports) {
    IFolders& folders = ports.folders;
    if (const auto documents = folders.Documents(); documents.ok()) {
        const std::u16string folder =
            ports.productName.empty() ? documents.value() : joined(documents.value(), ports.productName);
        if (makeFolder(ports, folder).ok()) return folder;
    }
    const auto current = folders.Current();
    return current.ok() ? current.value() : u".";
}

bool combinePath(CWizardBaseInfo& info) {
    info.fullPath = joined(info.directory, info.fileName);
    if (info.fullPath.size() <= longestPath) return true;
    info.fullPath.clear();
    return false;
}

void removeExtension(std::u16string& name) {
    for (const std::string_view extension : {".mwv", ".mp4", ".avi"}) {
        if (!endsWithExtension(name, extension)) continue;
        name.resize(name.size() - extension.size());
        return;
    }
}

void normaliseExtension(CWizardBaseInfo& info) {
    if (info.fullPath.empty()) return;
    std::string_view extension = ".wmv";
    if (info.isCapture && info.encoderKind)
        extension = ".mp4";
    else if (info.isCapture && info.aviOutput)
        extension = ".avi";
    if (endsWithExtension(info.fullPath, extension)) return;
    if (info.fullPath.ends_with(u'.')) extension.remove_prefix(1);
    info.fullPath += toUtf16(extension);
}

bool hasForbiddenCharacter(std::u16string_view name) { return name.find_first_of(u"<>:\"/\\|?*") != name.npos; }

std::u16string_view trimmed(std::u16string_view text) {
    constexpr std::u16string_view whiteSpace = u" \t\n\v\f\r\u00A0\u3000";
    text.remove_prefix(std::min(text.find_first_not_of(whiteSpace), text.size()));
    return text.substr(0, text.find_last_not_of(whiteSpace) + 1);
}

Result<std::u16string> autoPath(const SettingsPorts& ports, const vex_name_rules& rules,
                                std::u16string_view extension) {
    if (!isListed(rules.format, VEX_NAME_SEQUENCE) || !isListed(rules.subfolders, VEX_FOLDERS_YEAR_MONTH_DAY))
        return E_INVALIDARG;
    if (extension.size() < 2 || extension.front() != u'.' || hasForbiddenCharacter(extension)) return E_INVALIDARG;
    ISettingsKey* const key = ports.key;
    const std::u16string prefix = ruleOr(key, rules.prefix, setting::FileNamePrefix);
    if (hasForbiddenCharacter(prefix)) return E_INVALIDARG;

    const std::u16string base = ruleOr(key, rules.directory, setting::CapturePath);
    const std::u16string folder = buildFolder(ports, base, ruleOr(key, rules.subfolders, setting::DirSub));
    const std::u16string name = nextName(ports, ruleOr(key, rules.format, setting::FileNameFomat), prefix);
    std::u16string path = joined(folder, name).append(extension);
    if (path.size() > longestPath) return VEX_E_INSUFFICIENT_BUFFER;
    if (const Status s = makeFolder(ports, folder); !s.ok()) return s;
    return path;
}

}  // namespace vexcap
