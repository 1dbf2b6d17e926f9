#include "hosts/common/size.h"

#include "hosts/common/text/numbers.h"

namespace vexcap::host {

std::string sizeText(const Size& size) { return std::to_string(size.width) + "x" + std::to_string(size.height); }

std::optional<Size> parseSize(std::string_view text) {
    const size_t cross = text.find('x');
    if (cross == text.npos) return {};
    const auto width = parseNumber(text.substr(0, cross)), height = parseNumber(text.substr(cross + 1));
    if (!width || !height || !*width || !*height) return {};
    return Size{*width, *height};
}

}  // namespace vexcap::host
