// Port: where settings live.
#pragma once

#include <vexcap/key.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "base/status.h"

namespace vexcap {

/// An opened node of the settings. Any text is a name; names compare without the case of ASCII letters. A value of the
/// other type, or a number that does not fit 32 bits, counts as missing; so does all that cannot be read. A negative
/// number that fits gives its bits. What others write meanwhile is seen by the next read. Host's thread.
struct ISettingsKey {
    virtual ~ISettingsKey() = default;
    virtual std::optional<uint32_t> ReadNumber(std::u16string_view name) = 0;
    virtual std::optional<std::u16string> ReadText(std::u16string_view name) = 0;
    /// Replace a value of either type and leave every other value as it is. Once a write returned, the value is kept
    /// whatever happens to this process; until then the old one is. After a failure the old value is there. Broken
    /// UTF-16 is kept as U+FFFD. Other programs that write are waited for, about 2 s at most: then VEX_E_BUSY. What is
    /// too large to be kept is E_INVALIDARG.
    virtual Status WriteNumber(std::u16string_view name, uint32_t value) = 0;
    virtual Status WriteText(std::u16string_view name, std::u16string_view value) = 0;
    /// Why the values that are stored count as missing, with the place where they are stored: it is damaged, or may not
    /// be read. Empty where they can be read, and where nothing is stored.
    virtual std::u16string Problem() = 0;
};

struct ISettings {
    virtual ~ISettings() = default;
    /// Opens the node at `path` below a root; '\' separates its names, which compare as those of values do. What leads
    /// to it is made by the first write. A null root or a place that cannot be written fails.
    virtual Result<std::unique_ptr<ISettingsKey>> CreateKey(vex_key* root, std::u16string_view path) = 0;
};

}  // namespace vexcap
