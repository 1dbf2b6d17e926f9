// Any text in any font at any place: only the mask is written, with 255 alone, and the same each time.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include "platform/pango/pango_text.h"

using namespace vexcap;

namespace {

/// Takes values from the front of the input; zero where it is over.
struct Input {
    template <typename Value>
    Value Take() {
        Value value{};
        const size_t taken = std::min(sizeof value, size);
        if (taken) std::memcpy(&value, data, taken);
        data += taken;
        size -= taken;
        return value;
    }
    const uint8_t* data;
    size_t size;
};

constexpr int32_t guardWidth = 64;

}  // namespace

// Fontconfig keeps offsets in place of pointers, so what a living font map holds looks lost.
extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() { return "leak:libfontconfig.so\n"; }

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static pango::PangoText texts;
    Input input{data, size};
    // Most heights are small, as large ones take long.
    const int32_t height = input.Take<uint8_t>() % 8 ? input.Take<uint8_t>() % 64 : input.Take<int32_t>();
    const TextFont font{height, 400 + 100 * (input.Take<uint8_t>() % 6)};
    const int32_t width = input.Take<uint8_t>() + guardWidth, rows = input.Take<uint8_t>();
    const int32_t x = input.Take<int16_t>(), y = input.Take<int16_t>();
    std::u16string text(input.size / 2, u' ');
    if (!text.empty()) std::memcpy(text.data(), input.data, text.size() * 2);

    const TextSize area = texts.Measure(font, text);
    if (area.width < 0 || area.height < 0 || area.width > 32767 || area.height > 32767) std::abort();
    const size_t bytes = size_t(width) * size_t(rows);
    const auto first = std::make_unique<uint8_t[]>(bytes), second = std::make_unique<uint8_t[]>(bytes);
    if (texts.Draw(font, text, {first.get(), width, rows}, x, y) == text.empty()) std::abort();
    texts.Draw(font, text, {second.get(), width, rows}, x, y);
    if (!std::equal(first.get(), first.get() + bytes, second.get())) std::abort();
    for (size_t i = 0; i < bytes; ++i) {
        const int64_t column = int64_t(i) % width, row = int64_t(i) / width;
        const bool inside =
            column >= x && column < int64_t(x) + area.width && row >= y && row < int64_t(y) + area.height;
        if (first[i] != 0 && (first[i] != 255 || !inside)) std::abort();
    }
    return 0;
}
