// Folders that a test makes up.
#pragma once

#include <set>
#include <string>
#include <vector>

#include "platform/folders.h"

namespace vexcap {

/// Names as they stand. One thread.
class FakeFolders final : public IFolders {
public:
    Result<std::u16string> Documents() override { return documents; }
    Result<std::u16string> Current() override { return current; }
    bool IsFolder(std::u16string_view path) override { return folders.contains(std::u16string(path)); }
    bool Exists(std::u16string_view path) override { return IsFolder(path) || files.contains(std::u16string(path)); }
    Status Create(std::u16string_view path) override {
        created.emplace_back(path);
        if (createFailure < 0) return createFailure;
        folders.emplace(path);
        return S_OK;
    }

    Result<std::u16string> documents = std::u16string(u"/home/user/Documents");
    Result<std::u16string> current = std::u16string(u"/here");
    std::set<std::u16string> folders = {u"/home/user/Documents", u"/here"};
    std::set<std::u16string> files;
    std::vector<std::u16string> created;  ///< Asked for, in order, whether it worked or not.
    HRESULT createFailure = S_OK;         ///< What Create fails with while it is negative.
};

}  // namespace vexcap
