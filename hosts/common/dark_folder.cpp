#include "hosts/common/dark_folder.h"

#include <fcntl.h>
#include <stdio.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "hosts/common/failure.h"
#include "hosts/common/files/output_file.h"
#include "hosts/common/text/text.h"

namespace vexcap::host {

namespace {

namespace fs = std::filesystem;

constexpr char ending[] = ".bmp";

[[noreturn]] void fail(const std::string& what, const std::string& why) {
    throw Failure(exitFailure, what + ": " + why);
}

std::string valueOf(const char* variable) {
    const char* const value = std::getenv(variable);
    return value ? value : "";
}

/// A file beside another one, which it will take the place of; gone with this object when it did not.
class PartFile final {
public:
    /// `target` with its folder there.
    explicit PartFile(const std::string& target) : place(target), path(target + "." + std::to_string(getpid())) {
        const int descriptor = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (descriptor < 0) fail(target, std::strerror(errno));
        close(descriptor);
    }
    ~PartFile() {
        if (!path.empty()) unlink(path.c_str());
    }
    PartFile(const PartFile&) = delete;
    PartFile& operator=(const PartFile&) = delete;

    const std::string& Path() const { return path; }

    void TakePlace(bool overwrite) {
        // Its name must not be on the disk before its content is.
        if (const int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC); descriptor >= 0) {
            fsync(descriptor);
            close(descriptor);
        }
        int result = renameat2(AT_FDCWD, path.c_str(), AT_FDCWD, place.c_str(), overwrite ? 0 : RENAME_NOREPLACE);
        // Some file systems cannot rename that way.
        if (result != 0 && errno == EINVAL && !isTaken(place)) result = rename(path.c_str(), place.c_str());
        if (result != 0) fail(place, std::strerror(errno));
        path.clear();
    }

private:
    const std::string place;
    std::string path;  ///< Empty when it took its place.
};

/// "NAME-640x480" taken apart.
std::optional<DarkFolder::Entry> parseStem(const std::string& stem) {
    const size_t dash = stem.rfind('-');
    if (dash == stem.npos || dash == 0) return {};
    const auto size = parseSize(std::string_view(stem).substr(dash + 1));
    if (!size) return {};
    return DarkFolder::Entry{.name = stem.substr(0, dash), .size = *size, .path = {}};
}

}  // namespace

DarkFolder DarkFolder::ofUser() {
    const std::string data = valueOf("XDG_DATA_HOME"), home = valueOf("HOME");
    if (!data.empty()) return DarkFolder(data + "/vexcap/dark");
    if (!home.empty()) return DarkFolder(home + "/.local/share/vexcap/dark");
    throw Failure(exitFailure, "dark frames cannot be kept here: neither XDG_DATA_HOME nor HOME is set");
}

std::string DarkFolder::NameOf(const Device& device) {
    constexpr std::string_view prefix = "@device:";
    std::string_view identifier = device.identifier;
    if (identifier.starts_with(prefix)) identifier.remove_prefix(prefix.size());
    std::string name;
    for (const char c : identifier) {
        const bool plain = isPartOfFileName({&c, 1}) && c != '%' && static_cast<unsigned char>(c) > ' ' && c != 0x7F;
        char code[4];
        std::snprintf(code, sizeof code, "%%%02X", static_cast<unsigned>(static_cast<unsigned char>(c)));
        name += plain ? std::string(1, c) : code;
    }
    return name;
}

void DarkFolder::MakeFolder() const {
    std::error_code error;
    fs::create_directories(folder, error);
    if (error) fail(folder, error.message());
}

std::vector<DarkFolder::Entry> DarkFolder::List() const {
    std::vector<Entry> entries;
    std::error_code error;
    for (const fs::directory_entry& file : fs::directory_iterator(folder, error)) {
        if (file.path().extension() != ending) continue;
        auto entry = parseStem(file.path().stem().string());
        if (!entry) continue;
        entry->path = file.path().string();
        entry->on = !isTaken(MarkerOf(entry->name));
        entries.push_back(std::move(*entry));
    }
    if (error && error != std::errc::no_such_file_or_directory) fail(folder, error.message());
    std::ranges::sort(entries, {}, [](const Entry& e) { return std::tuple(e.name, e.size.width, e.size.height); });
    return entries;
}

std::vector<DarkFolder::Entry> DarkFolder::List(const Device& device) const {
    std::vector<Entry> entries = List();
    std::erase_if(entries, [name = NameOf(device)](const Entry& e) { return e.name != name; });
    return entries;
}

bool DarkFolder::IsOn(const Device& device) const { return !isTaken(MarkerOf(NameOf(device))); }

void DarkFolder::Switch(const Device& device, bool on) const {
    const std::string marker = MarkerOf(NameOf(device));
    if (on) {
        std::error_code error;
        fs::remove(marker, error);
        if (error) fail(marker, error.message());
        return;
    }
    MakeFolder();
    if (!std::ofstream(marker)) fail(marker, std::strerror(errno));
}

std::string DarkFolder::Keep(const Device& device, const Size& size,
                             const std::function<void(const std::string& path)>& write) const {
    MakeFolder();
    std::string path = folder + "/" + NameOf(device) + "-" + sizeText(size) + ending;
    PartFile part(path);
    write(part.Path());
    part.TakePlace(true);
    return path;
}

void copyFile(const std::string& from, const std::string& to, bool overwrite) {
    checkOutputFile(to, overwrite);
    PartFile part(to);
    std::error_code error;
    fs::copy_file(from, part.Path(), fs::copy_options::overwrite_existing, error);
    if (error) fail(to, error.message());
    part.TakePlace(overwrite);
}

}  // namespace vexcap::host
