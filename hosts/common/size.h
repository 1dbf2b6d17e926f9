/// The size of a picture.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vexcap::host {

struct Size {
    uint32_t width = 0;
    uint32_t height = 0;
    bool operator==(const Size&) const = default;
};

/// "640x480".
std::string sizeText(const Size& size);
/// Both numbers above 0; nothing for another text.
std::optional<Size> parseSize(std::string_view text);

}  // namespace vexcap::host
