/// Dark frames that are kept from one run of the program to the next.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "hosts/common/device_match.h"
#include "hosts/common/formats.h"

namespace vexcap::host {

/// A folder with one bitmap for each device and picture size, "NAME-WIDTHxHEIGHT.bmp", where NAME is made of the
/// device's identifier, which tells two devices of one model apart. An empty file "NAME.off" says that the device's
/// dark frames are not to be applied.
class DarkFolder final {
public:
    struct Entry {
        std::string name;  ///< See NameOf.
        Size size;
        std::string path;
        bool on = true;
        bool operator==(const Entry&) const = default;
    };

    explicit DarkFolder(std::string path) : folder(std::move(path)) {}
    /// $XDG_DATA_HOME/vexcap/dark, else ~/.local/share/vexcap/dark. Failure exitFailure when neither can be told.
    static DarkFolder ofUser();
    /// The identifier without "@device:", with "%XX" for what a file name had better not have, and for '%'.
    static std::string NameOf(const Device& device);

    /// What is kept, by name and size; nothing where there is no folder.
    std::vector<Entry> List() const;
    std::vector<Entry> List(const Device& device) const;
    bool IsOn(const Device& device) const;
    /// Failure exitFailure when it cannot be stored.
    void Switch(const Device& device, bool on) const;
    /// Keeps what `write` puts into the file that it is given; it takes the place of an older one only when it is
    /// whole. Gives its path. The folder is made where it is missing. What `write` throws goes on.
    std::string Keep(const Device& device, const Size& size,
                     const std::function<void(const std::string& path)>& write) const;

private:
    std::string MarkerOf(const std::string& name) const { return folder + "/" + name + ".off"; }
    void MakeFolder() const;
    const std::string folder;
};

/// Copies a file; the new one is there as a whole or not at all, and takes the place of another one only on wish.
/// Failure exitUsage for a file that exists, exitFailure when it cannot be written.
void copyFile(const std::string& from, const std::string& to, bool overwrite);

}  // namespace vexcap::host
