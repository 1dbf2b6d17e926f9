#include "settings/recording_info.h"

#include <algorithm>

#include "base/guid.h"
#include "settings/naming.h"
#include "settings/setting.h"

namespace vexcap {
namespace {

constexpr std::u16string_view defaultCompressor =
    u"@device:sw:{33D9A760-90C8-11D0-BD43-00A0C911CE86}\\MJPEG Compressor";
constexpr std::u16string_view noCompressor = u"None";
constexpr uint32_t kindH264 = 1;
constexpr uint32_t kindHevc = 2;

/// The encoder that a user asked for, or the one that there is.
uint32_t availableKind(const CWizardBaseInfo& info, uint32_t wished) {
    const bool h264 = info.softwareH264 || info.hardwareH264;
    const bool hevc = info.softwareHevc || info.hardwareHevc;
    if (h264 && hevc) return wished;
    // With a single encoder the wizard opens on it, also for a user who chose none.
    return h264 ? kindH264 : hevc ? kindHevc : 0;
}

/// Where only one of software and hardware can encode, that one is taken.
void settleHardware(CWizardBaseInfo& info) {
    if (!info.encoderKind) return;
    const bool hevc = info.encoderKind == kindHevc;
    const bool software = hevc ? info.softwareHevc : info.softwareH264;
    const bool hardware = hevc ? info.hardwareHevc : info.hardwareH264;
    if (software != hardware) info.Hardware = hardware;
}

}  // namespace

uint32_t defaultBitRateOf(uint32_t width, uint32_t height, uint32_t frameRate) {
    constexpr double most = 128;
    const double suited = double(width) * height / 307200.0 * frameRate / 20.0 * 4.0;
    return std::max(uint32_t(std::min(suited, most)), 1u) * 256;
}

void resolveGpu(CWizardBaseInfo& info) {
    if (!info.Hardware || !info.hasGpuList) return;
    const vex_guid& codec = info.encoderKind == kindHevc ? videoFormatHevc : videoFormatH264;
    const uint64_t stored = uint64_t(info.LUIDHighPart) << 32 | info.LUIDLowPart;
    const GpuEncoder* chosen = nullptr;
    for (const GpuEncoder& encoder : info.gpuEncoders) {
        if (!(encoder.codec == codec)) continue;
        if (!chosen || (stored && encoder.luid == stored)) chosen = &encoder;
    }
    const uint64_t luid = chosen ? chosen->luid : 0;
    info.LUIDLowPart = uint32_t(luid);
    info.LUIDHighPart = uint32_t(luid >> 32);
    info.Hardware = luid != 0;
}

CWizardBaseInfo::CWizardBaseInfo(const SettingsPorts& settingsPorts, const WizardSource& source, bool forCapture)
    : ports(settingsPorts),
      parentWindow(source.parentWindow),
      isCapture(forCapture),
      isCamera(source.isCamera),
      width(source.width),
      height(source.height),
      frameRate(source.frameRate),
      bitDepth(source.bitDepth),
      skipMediaFoundation(source.skipMediaFoundation),
      defaultBitRate(defaultBitRateOf(width, height, frameRate)) {
    EncoderOffer offer = ports.encoders.Discover();
    hasGpuList = offer.hasGpuList;
    softwareH264 = offer.softwareH264;
    softwareHevc = offer.softwareHevc;
    hardwareH264 = offer.hardwareH264;
    hardwareHevc = offer.hardwareHevc;
    gpuEncoders = std::move(offer.gpuEncoders);
    if (!source.hostNamesFile) LoadFolder();
    if (!ports.astroMode) Load();
}

CWizardBaseInfo::~CWizardBaseInfo() {
    try {
        if (commit) Save();
    } catch (...) {  // what could not be kept is as it was
    }
}

ISettingsKey* CWizardBaseInfo::settings() const { return ports.astroMode ? nullptr : ports.key; }

const vex_setting& CWizardBaseInfo::KeySpacing() const {
    return isCapture ? setting::SecPerKey : setting::SecPerKeyBroadcast;
}

void CWizardBaseInfo::putBitRateScale(uint32_t percent) {
    BitRateScale = withinLimits(setting::BitRateScale, percent);
    bitRate = (defaultBitRate * BitRateScale + 50) / 100;
}

void CWizardBaseInfo::LoadFolder() {
    if (ports.astroMode)
        directory = standardFolder(ports);
    else
        loadDirectory(*this);
}

void CWizardBaseInfo::Load() {
    ISettingsKey* const key = settings();
    putBitRateScale(readNumber(key, setting::BitRateScale));
    SecPerKey = readNumber(key, KeySpacing());
    CaptureQuality = readNumber(key, setting::CaptureQuality);
    UseTimeLimit = readNumber(key, setting::UseTimeLimit);
    TimeLimit = readNumber(key, setting::TimeLimit);
    loadFileName(*this);
    removeExtension(fileName);
    Hardware = readNumber(key, setting::Hardware);
    if (!hasGpuList) return;
    LUIDLowPart = readNumber(key, setting::LUIDLowPart);
    LUIDHighPart = readNumber(key, setting::LUIDHighPart);
}

void CWizardBaseInfo::Save() const {
    ISettingsKey* const key = settings();
    writeNumber(key, KeySpacing(), SecPerKey).ignore();
    writeNumber(key, setting::BitRateScale, BitRateScale).ignore();
    writeNumber(key, setting::CaptureQuality, CaptureQuality).ignore();
    writeNumber(key, setting::UseTimeLimit, UseTimeLimit).ignore();
    writeNumber(key, setting::TimeLimit, TimeLimit).ignore();
    writeNumber(key, setting::Hardware, Hardware).ignore();
    if (!hasGpuList || !Hardware) return;
    writeNumber(key, setting::LUIDLowPart, LUIDLowPart).ignore();
    writeNumber(key, setting::LUIDHighPart, LUIDHighPart).ignore();
}

CWizardCaptureInfo::CWizardCaptureInfo(const SettingsPorts& settingsPorts, const WizardSource& source)
    : CWizardBaseInfo(settingsPorts, source, true) {
    if (!ports.astroMode) Load();
    settleHardware(*this);
    resolveGpu(*this);
}

CWizardCaptureInfo::~CWizardCaptureInfo() {
    try {
        if (commit) Save();
    } catch (...) {  // what could not be kept is as it was
    }
}

void CWizardCaptureInfo::Load() {
    ISettingsKey* const key = settings();
    encoderKind = availableKind(*this, readNumber(key, setting::VideoCaptureH264));
    if (!encoderKind) aviOutput = readNumber(key, setting::VideoCaptureAVI);
    CaptureTitle = readText(key, setting::CaptureTitle);
    CaptureAuthor = readText(key, setting::CaptureAuthor);
    CaptureCopyright = readText(key, setting::CaptureCopyright);
    CaptureDescription = readText(key, setting::CaptureDescription);
}

void CWizardCaptureInfo::Save() {
    ISettingsKey* const key = settings();
    writeNumber(key, setting::VideoCaptureAVI, aviOutput).ignore();
    if (ports.remembersEncoder) writeNumber(key, setting::VideoCaptureH264, encoderKind).ignore();
    if (aviOutput) {
        loadCompressors();  // a list that nobody looked at keeps the remembered choice
        const bool chosen = compressorIndex >= 0 && size_t(compressorIndex) < compressors.size() &&
                            !compressors[size_t(compressorIndex)].displayName.empty();
        writeText(key, setting::AviCodec,
                  chosen ? std::u16string_view(compressors[size_t(compressorIndex)].displayName) : noCompressor)
            .ignore();
    } else {
        writeText(key, setting::CaptureTitle, CaptureTitle).ignore();
        writeText(key, setting::CaptureAuthor, CaptureAuthor).ignore();
        writeText(key, setting::CaptureCopyright, CaptureCopyright).ignore();
        writeText(key, setting::CaptureDescription, CaptureDescription).ignore();
    }
}

void CWizardCaptureInfo::loadCompressors() {
    if (!compressors.empty()) return;
    compressors = ports.media.Compressors();
    const std::u16string remembered = readText(settings(), setting::AviCodec);
    const std::u16string_view wanted = remembered.empty() ? defaultCompressor : std::u16string_view(remembered);
    const auto found = std::ranges::find(compressors, wanted, &Compressor::displayName);
    compressorIndex = wanted == noCompressor || found != compressors.end() ? int32_t(found - compressors.begin()) : -1;
}

CWizardBroadcastInfo::CWizardBroadcastInfo(const SettingsPorts& settingsPorts, const WizardSource& source)
    : CWizardBaseInfo(settingsPorts, source, false) {}

CWizardBroadcastInfo::~CWizardBroadcastInfo() {
    if (!commit) return;
    try {
        writeNumber(settings(), setting::BroadcastPort, BroadcastPort).ignore();
    } catch (...) {  // what could not be kept is as it was
    }
}

}  // namespace vexcap
