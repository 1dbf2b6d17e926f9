// Settings that live as long as a test.
#pragma once

#include <string>
#include <vector>

#include "platform/settings.h"

namespace vexcap {

/// Remembers the nodes that were opened. One thread.
class FakeSettings final : public ISettings {
public:
    struct Opened {
        vex_key* root;
        std::u16string path;
    };

    Result<std::unique_ptr<ISettingsKey>> CreateKey(vex_key* root, std::u16string_view path) override {
        if (!root) return E_INVALIDARG;
        if (failure < 0) return failure;
        opened.push_back({root, std::u16string(path)});
        return std::unique_ptr<ISettingsKey>(std::make_unique<Key>());
    }

    /// A root to give to the code under test.
    vex_key* root() { return reinterpret_cast<vex_key*>(this); }

    HRESULT failure = S_OK;  ///< What CreateKey fails with while it is negative.
    std::vector<Opened> opened;

private:
    struct Key final : ISettingsKey {};
};

}  // namespace vexcap
