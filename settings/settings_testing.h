// What tests of settings share: a store whose values are set and read by name, at an hour whose every part needs
// padding.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <string>
#include <vector>

#include "platform/fake/fake_platform.h"
#include "platform/fake/fake_window.h"
#include "settings/recording_info.h"

namespace vexcap::test {

using Names = std::vector<std::u16string>;

/// Adds to a fixture that has `fakes`, a FakePlatform.
template <typename Fixture>
class WithStoredSettings : public Fixture {
protected:
    WithStoredSettings() { setLocalTime(2024, 3, 5, 7, 8, 9); }

    void setLocalTime(int year, unsigned month, unsigned day, int hour, int minute, int second) {
        using namespace std::chrono;
        const sys_seconds moment =
            sys_days(std::chrono::year(year) / month / day) + hours(hour) + minutes(minute) + seconds(second);
        const uint64_t local =
            uint64_t((moment - sys_days(std::chrono::year(1601) / January / 1)).count()) * 10'000'000;
        // Far enough from it to be another day in universal time.
        this->fakes.clock.setWallTime(local - 24 * uint64_t(36'000'000'000), local);
    }

    void store(const std::u16string& name, uint32_t value) { this->fakes.settings.values[name] = value; }
    void store(const std::u16string& name, const std::u16string& value) { this->fakes.settings.values[name] = value; }
    uint32_t storedNumber(const std::u16string& name) {
        return std::get<uint32_t>(this->fakes.settings.values.at(name));
    }
    std::u16string storedText(const std::u16string& name) {
        return std::get<std::u16string>(this->fakes.settings.values.at(name));
    }
    const Names& written() const { return this->fakes.settings.written; }
    bool wasRead(const std::u16string& name) const {
        const Names& read = this->fakes.settings.read;
        return std::find(read.begin(), read.end(), name) != read.end();
    }
};

class FakePlatformFixture : public testing::Test {
protected:
    FakePlatform fakes;
};

/// Ports outside of astro mode, with an open key.
class SettingsFixture : public WithStoredSettings<FakePlatformFixture> {
protected:
    WizardSource source() { return {.parentWindow = owner.native(), .width = 640, .height = 480, .frameRate = 20}; }
    CWizardCaptureInfo capture() { return CWizardCaptureInfo(ports, source()); }
    CWizardBroadcastInfo broadcast() { return CWizardBroadcastInfo(ports, source()); }

    FakeWindow owner;
    const std::unique_ptr<ISettingsKey> key = fakes.settings.CreateKey(fakes.settings.root(), u"key").value();
    SettingsPorts ports = {.key = key.get(),
                           .clock = fakes.clock,
                           .folders = fakes.folders,
                           .encoders = fakes.encoders,
                           .media = fakes.media,
                           .productName = u"Product"};
};

}  // namespace vexcap::test
