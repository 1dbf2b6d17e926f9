// What the tests of this folder share: an engine outside of astro mode, at an hour whose every part needs padding.
#pragma once

#include <algorithm>
#include <chrono>
#include <string>
#include <vector>

#include "engine/state/engine_fixture.h"
#include "settings/recording_info.h"

namespace vexcap {

using Names = std::vector<std::u16string>;

class WizardFixture : public EngineFixture {
protected:
    WizardFixture() {
        arguments.astroMode = 0;
        setLocalTime(2024, 3, 5, 7, 8, 9);
        init();
    }

    void setLocalTime(int year, unsigned month, unsigned day, int hour, int minute, int second) {
        using namespace std::chrono;
        const sys_seconds moment =
            sys_days(std::chrono::year(year) / month / day) + hours(hour) + minutes(minute) + seconds(second);
        const uint64_t local =
            uint64_t((moment - sys_days(std::chrono::year(1601) / January / 1)).count()) * 10'000'000;
        // Far enough from it to be another day in universal time.
        fakes.clock.setWallTime(local - 24 * uint64_t(36'000'000'000), local);
    }

    void enterAstroMode() {
        arguments.astroMode = 1;
        init();
    }

    void store(const std::u16string& name, uint32_t value) { fakes.settings.values[name] = value; }
    void store(const std::u16string& name, const std::u16string& value) { fakes.settings.values[name] = value; }
    uint32_t storedNumber(const std::u16string& name) { return std::get<uint32_t>(fakes.settings.values.at(name)); }
    std::u16string storedText(const std::u16string& name) {
        return std::get<std::u16string>(fakes.settings.values.at(name));
    }
    const Names& written() const { return fakes.settings.written; }
    bool wasRead(const std::u16string& name) const {
        const Names& read = fakes.settings.read;
        return std::find(read.begin(), read.end(), name) != read.end();
    }

    WizardSource source() { return {.parentWindow = owner.native(), .width = 640, .height = 480, .frameRate = 20}; }
    CWizardCaptureInfo capture() { return CWizardCaptureInfo(engine, source()); }
    CWizardBroadcastInfo broadcast() { return CWizardBroadcastInfo(engine, source()); }
};

}  // namespace vexcap
