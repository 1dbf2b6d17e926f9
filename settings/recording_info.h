// The records that one recording or broadcast runs on.
#pragma once

#include <vexcap/settings.h>
#include <vexcap/window.h>

#include <cstdint>
#include <string>
#include <vector>

#include "platform/encoder_catalogue.h"
#include "platform/media.h"
#include "settings/settings_ports.h"

namespace vexcap {

/// What a record is made for.
struct WizardSource {
    vex_window* parentWindow = nullptr;
    uint32_t width = 0;      ///< Pixels.
    uint32_t height = 0;     ///< Pixels.
    uint32_t frameRate = 0;  ///< Frames a second.
    bool isCamera = false;
    uint32_t bitDepth = 8;
    bool skipMediaFoundation = false;
    bool hostNamesFile = false;  ///< No folder is looked for or made.
};

/// Lives on the host's thread for the length of a start call. The constructor loads what is remembered, the destructor
/// saves it when `commit` is set; in astro mode neither touches the settings.
class CWizardBaseInfo {
public:
    virtual ~CWizardBaseInfo();
    CWizardBaseInfo(const CWizardBaseInfo&) = delete;
    CWizardBaseInfo& operator=(const CWizardBaseInfo&) = delete;

    /// Where the record is remembered; null where it is not, as in astro mode.
    ISettingsKey* settings() const;

    /// Stores a scale, within its limits, and the bit rate that follows from it.
    void putBitRateScale(uint32_t percent);

    const SettingsPorts ports;
    vex_window* const parentWindow;
    const bool isCapture;  ///< Else a broadcast.
    const bool isCamera;
    const uint32_t width;
    const uint32_t height;
    const uint32_t frameRate;
    const uint32_t bitDepth;
    const bool skipMediaFoundation;
    const uint32_t defaultBitRate;  ///< Kbit/s.

    bool hasGpuList = false;
    bool softwareH264 = false;
    bool softwareHevc = false;
    bool hardwareH264 = false;
    bool hardwareHevc = false;
    bool aviOutput = false;
    uint32_t encoderKind = 0;  ///< 0 none, 1 H.264, 2 H.265.
    bool serOutput = false;
    uint32_t BitRateScale = 100;  ///< Percent, 25 to 400.
    uint32_t bitRate = 0;         ///< Kbit/s.
    uint32_t SecPerKey = 1;       ///< Seconds from key frame to key frame.
    uint32_t CaptureQuality = 0;  ///< Percent, 1 to 100.
    bool UseTimeLimit = false;
    uint32_t TimeLimit = 60;  ///< Seconds.
    bool useFrameLimit = false;
    uint32_t frameLimit = 0xFFFFFFFF;
    uint32_t timeLapse = 1;  ///< One frame in this many is kept.
    bool Hardware = true;    ///< A hardware encoder is wished for.
    bool commit = false;     ///< The destructor saves.
    bool profileBuilt = false;
    std::u16string fileName;
    std::u16string directory;  ///< Empty where the host names the file.
    std::u16string fullPath;
    uint32_t LUIDLowPart = 0;  ///< The chosen adapter.
    uint32_t LUIDHighPart = 0;
    std::vector<GpuEncoder> gpuEncoders;

protected:
    CWizardBaseInfo(const SettingsPorts& settingsPorts, const WizardSource& source, bool forCapture);

private:
    void LoadFolder();
    void Load();
    void Save() const;
    const vex_setting& KeySpacing() const;
};

/// Of a recording to a file.
class CWizardCaptureInfo final : public CWizardBaseInfo {
public:
    CWizardCaptureInfo(const SettingsPorts& settingsPorts, const WizardSource& source);
    ~CWizardCaptureInfo() override;

    /// Fills the list of compressors the first time, and finds the remembered one in it.
    void loadCompressors();

    std::u16string CaptureTitle;
    std::u16string CaptureAuthor;
    std::u16string CaptureCopyright;
    std::u16string CaptureDescription;
    std::vector<Compressor> compressors;
    int32_t compressorIndex = -1;  ///< Negative: none remembered is there. One past the end: none is wanted.

private:
    void Load();
    void Save();
};

/// Of a broadcast.
class CWizardBroadcastInfo final : public CWizardBaseInfo {
public:
    CWizardBroadcastInfo(const SettingsPorts& settingsPorts, const WizardSource& source);
    ~CWizardBroadcastInfo() override;

    uint16_t BroadcastPort = 2080;  ///< Read by whoever starts the broadcast, saved with the rest.
    bool saveCopy = false;
};

/// Bit rate that suits a picture of this size and rate, in Kbit/s: 256 to 32768.
uint32_t defaultBitRateOf(uint32_t width, uint32_t height, uint32_t frameRate);

/// Settles on an adapter that has the chosen codec; without one `Hardware` is cleared.
void resolveGpu(CWizardBaseInfo& info);

}  // namespace vexcap
