// A settings file from outside: nothing crashes, and a change is one of its value and of nothing else. The layer below
// asserts that every value of the file but one is as it was.
#include <cstdlib>

#include "base/text.h"
#include "platform/linux/settings/settings_text.h"

using namespace vexcap;

namespace {

void require(bool holds) {
    if (!holds) std::abort();
}

/// The file after a write, which is read back and leaves the value of `other` as it was.
std::string changed(const std::string& file, const std::string& name, const SettingValue& value,
                    const std::string& other) {
    const std::string after = withValue(file, name, value).value();
    const auto* const number = std::get_if<uint32_t>(&value);
    const auto* const text = std::get_if<std::string>(&value);
    require(findNumber(after, name) == (number ? std::optional(*number) : std::nullopt));
    require(findText(after, name) == (text ? std::optional(*text) : std::nullopt));
    require(withValue(after, name, value) == after);
    require(sameName(name, other) ||
            (findNumber(after, other) == findNumber(file, other) && findText(after, other) == findText(file, other)));
    return after;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string file(reinterpret_cast<const char*>(data), size);
    const std::string text = toUtf8(toUtf16(file));
    for (const std::string& name : {std::string("a"), std::string("B"), toUtf8(toUtf16(file.substr(0, 3)))}) {
        if (withValue(file, name, 7u)) {
            changed(changed(changed(file, name, 7u, "b"), name, text, "A"), "b", 4294967295u, name);
        } else {
            require(!findNumber(file, name) && !findText(file, name));
        }
    }
    return 0;
}
