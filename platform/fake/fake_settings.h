// Settings that live as long as a test.
#pragma once

#include <algorithm>
#include <map>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "base/text.h"
#include "platform/settings.h"

namespace vexcap {

/// Remembers the nodes that were opened and the values that were written; all nodes are one. Keeps values as every
/// store does (settings_testing.h holds it to that). One thread.
class FakeSettings final : public ISettings {
public:
    struct Opened {
        vex_key* root;
        std::u16string path;
    };
    using Value = std::variant<uint32_t, std::u16string>;

    Result<std::unique_ptr<ISettingsKey>> CreateKey(vex_key* root, std::u16string_view path) override {
        if (!root) return E_INVALIDARG;
        if (failure < 0) return failure;
        opened.push_back({root, std::u16string(path)});
        return std::unique_ptr<ISettingsKey>(std::make_unique<Key>(*this));
    }

    /// A root to give to the code under test.
    vex_key* root() { return reinterpret_cast<vex_key*>(this); }

    HRESULT failure = S_OK;  ///< What CreateKey fails with while it is negative.
    std::vector<Opened> opened;

    std::u16string problem;                  ///< What Problem returns.
    HRESULT writeFailure = S_OK;             ///< What each write fails with while it is negative.
    std::map<std::u16string, Value> values;  ///< By names as they were first written.
    std::vector<std::u16string> written;     ///< Names in the order of their writes.
    std::vector<std::u16string> read;        ///< Names in the order of their reads.

private:
    struct Key final : ISettingsKey {
        explicit Key(FakeSettings& settings) : store(settings) {}
        std::optional<uint32_t> ReadNumber(std::u16string_view name) override { return store.Read<uint32_t>(name); }
        std::optional<std::u16string> ReadText(std::u16string_view name) override {
            return store.Read<std::u16string>(name);
        }
        Status WriteNumber(std::u16string_view name, uint32_t value) override { return store.Write(name, value); }
        Status WriteText(std::u16string_view name, std::u16string_view value) override {
            return store.Write(name, toUtf16(toUtf8(value)));
        }
        std::u16string Problem() override { return store.problem; }
        FakeSettings& store;
    };

    auto Find(std::u16string_view name) {
        const auto lower = [](char16_t c) { return c >= u'A' && c <= u'Z' ? char16_t(c + 32) : c; };
        return std::find_if(values.begin(), values.end(), [&](const auto& entry) {
            return std::equal(name.begin(), name.end(), entry.first.begin(), entry.first.end(),
                              [&](char16_t a, char16_t b) { return lower(a) == lower(b); });
        });
    }
    template <typename Type>
    std::optional<Type> Read(std::u16string_view name) {
        read.emplace_back(name);
        const auto found = Find(name);
        const Type* const value = found == values.end() ? nullptr : std::get_if<Type>(&found->second);
        return value ? std::optional(*value) : std::nullopt;
    }
    Status Write(std::u16string_view name, Value value) {
        if (writeFailure < 0) return writeFailure;
        written.emplace_back(name);
        const auto found = Find(name);
        if (found == values.end()) {
            values.emplace(name, std::move(value));
        } else {
            found->second = std::move(value);
        }
        return S_OK;
    }
};

}  // namespace vexcap
