// Formats and encodings from outside: nothing crashes, and the output stays in bounds.
#include <cstdlib>
#include <cstring>

#include "base/text.h"

using namespace vexcap;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    const std::u16string decoded = toUtf16(bytes);
    if (toUtf16(toUtf8(decoded)) != decoded) std::abort();

    std::u16string units(size / 2, u'\0');
    if (!units.empty()) std::memcpy(units.data(), data, units.size() * 2);
    if (toUtf8(toUtf16(toUtf8(units))) != toUtf8(units)) std::abort();

    const std::vector<FormatArgument> arguments = {int64_t(-1), ~uint64_t(0), -1.7976931348623157e308,
                                                   std::u16string(u"text"), units};
    for (const std::u16string& format : {decoded, units}) {
        const std::u16string text = formatText(format, arguments);
        if (text.size() > format.size() + arguments.size() * 1024 + units.size()) std::abort();
    }
    return 0;
}
