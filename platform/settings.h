// Port: where settings live.
#pragma once

#include <vexcap/key.h>

#include <memory>
#include <string>

#include "base/status.h"

namespace vexcap {

/// An opened node of the settings.
struct ISettingsKey {
    virtual ~ISettingsKey() = default;
};

struct ISettings {
    virtual ~ISettings() = default;
    /// Opens the node at `path` below a root, with all that leads to it; '\' separates its names. A null root or a
    /// place that cannot be written fails.
    virtual Result<std::unique_ptr<ISettingsKey>> CreateKey(vex_key* root, std::u16string_view path) = 0;
};

}  // namespace vexcap
