// A directory that lives as long as its object.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace vexcap::test {

class TempDir final {
public:
    /// Throws when no directory can be made.
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    const std::filesystem::path& path() const { return directory; }
    std::string file(const std::string& name) const { return (directory / name).string(); }
    /// All regular files in it, sorted by name.
    std::vector<std::filesystem::path> files() const;

private:
    std::filesystem::path directory;
};

}  // namespace vexcap::test
