// The overlay settings of the process, which are remembered.
#pragma once

#include <vexcap/overlay.h>
#include <vexcap/settings.h>

#include <cstdint>
#include <memory>
#include <string_view>

#include "platform/settings.h"

namespace vexcap {

/// The values of a record of which nothing is remembered.
MarkerGeo standardGeo();
MarkerTxt standardTxt();

/// Before Init nothing is drawn and nothing is kept. Host's thread.
class MarkerSettings final {
public:
    /// Opens "SOFTWARE\name1\name2\marker" below the root and reads what is there; a failure leaves standard values,
    /// and nothing is kept then.
    Status Init(ISettings& settings, vex_key* root, std::u16string_view name1, std::u16string_view name2);

    /// Why the values that are stored are not used; empty where they are.
    std::u16string Problem() const { return key ? key->Problem() : std::u16string(); }

    const MarkerGeo& Geo() const { return geo; }
    const MarkerTxt& Txt() const { return txt; }
    /// Take the record as is, and save.
    void SetGeo(const MarkerGeo& record);
    void SetTxt(const MarkerTxt& record);
    /// Writes all values of both records. Failures are ignored.
    void Save();

    uint32_t CaptureAfter() const { return captureAfter; }
    void SetCaptureAfter(uint32_t on);

    /// The value of an overlay's setting as it is now, whatever is stored. `stored` becomes true when the key has a
    /// value of this name.
    uint32_t Number(const vex_setting& setting, bool& stored) const;
    /// Stores the value of an overlay's setting alone, and takes it when it is stored. E_UNEXPECTED without a key.
    Status PutNumber(const vex_setting& setting, uint32_t value);

    // Of the watermark; never saved.
    int32_t waterOffsetX = 0;
    int32_t waterOffsetY = 0;
    int32_t waterRotate = 0;

private:
    MarkerGeo geo = {};
    MarkerTxt txt = {VEX_CORNER_TOP_LEFT, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
    std::unique_ptr<ISettingsKey> key;
    uint32_t captureAfter = 1;
};

/// The settings of the process. The store that Init was given outlives them.
MarkerSettings& markerSettings();

}  // namespace vexcap
