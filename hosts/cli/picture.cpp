#include "hosts/cli/picture.h"

#include <algorithm>

#include "hosts/cli/controls.h"
#include "hosts/cli/failure.h"
#include "hosts/cli/result_text.h"
#include "hosts/cli/text.h"

namespace vexcap::cli {

namespace {

constexpr int roundMilliseconds = 100;

std::string quoted(const std::string& name) { return "\"" + name + "\""; }

}  // namespace

void checkTakesDark(const Device& device) {
    if (device.IsCamera())
        throw Failure(exitUsage,
                      quoted(device.name) + " is a camera, and cameras take no dark frame; video input devices do");
}

void checkAbilities(const Device& device, const Options& options) {
    const CameraSettings& camera = options.camera;
    const PictureSettings& picture = options.picture;
    const std::pair<const char*, bool> ofCameras[] = {
        {"--exposure", camera.exposure.has_value()}, {"--gain", camera.gain.has_value()},
        {"--depth", camera.depth.has_value()},       {"--fps", camera.frameRate.has_value()},
        {"--binning", camera.binning.has_value()},   {"--roi", camera.region.has_value()},
        {"--raw", options.grab == VEX_GRAB_RAW},     {"--deep", options.grab == VEX_GRAB_DEEP}};
    const std::pair<const char*, bool> ofVideoInputs[] = {
        {"--flip", picture.mirrored || picture.upsideDown}, {"--grey", picture.grey}, {"--negative", picture.negative}};
    if (device.IsCamera()) {
        for (const auto& [option, wished] : ofVideoInputs)
            if (wished)
                throw Failure(exitUsage, std::string(option) + " is for video input devices; " + quoted(device.name) +
                                             " is a camera");
        if (!picture.dark.empty()) checkTakesDark(device);
        return;
    }
    for (const auto& [option, wished] : ofCameras)
        if (wished)
            throw Failure(exitUsage,
                          std::string(option) + " is for cameras; " + quoted(device.name) + " is a video input device");
}

void applyPicture(const Session& session, const PictureSettings& wished) {
    constexpr uint32_t leftRight = 1, topBottom = 2;
    vexcap_context* const context = session.Context();
    vexcap_put_flip(context, wished.mirrored ? leftRight : 0, leftRight);
    vexcap_put_flip(context, wished.upsideDown ? topBottom : 0, topBottom);
    vexcap_put_chrome(context, wished.grey);
    vexcap_put_negative(context, wished.negative);
}

void applyDarkFile(const Session& session, const std::string& path) {
    const std::u16string wide = toUtf16(path);
    const HRESULT result = vexcap_dfc_import(session.Context(), wide.c_str());
    if (result == E_INVALIDARG)
        throw Failure(exitUsage,
                      path + " has another size than the picture, which is " + sizeText(session.PictureSize()));
    if (result < 0)
        throw Failure(exitFailure,
                      path +
                          " is no dark frame: an uncompressed Windows bitmap of 24 bits a pixel is needed, "
                          "as \"vexcap dark export\" writes it");
    vexcap_dfc_enable(session.Context(), 1);
}

std::string applyKeptDark(const Session& session, const Device& device) {
    try {
        const DarkFolder folder = DarkFolder::ofUser();
        const std::vector<DarkFolder::Entry> kept = folder.List(device);
        if (kept.empty() || !folder.IsOn(device)) return {};
        const Size size = session.PictureSize();
        for (const DarkFolder::Entry& entry : kept) {
            if (entry.size != size) continue;
            applyDarkFile(session, entry.path);
            return "the dark frame kept for " + sizeText(size) + " is applied";
        }
        return "no dark frame is applied: none is kept for " + sizeText(size);
    } catch (const Failure& failure) {
        return std::string("no dark frame is applied: ") + failure.what();
    }
}

std::string preparePicture(Session& session, const Device& device, const Options& options, const Signals& signals) {
    if (options.format) session.SetFormat(*options.format, signals);
    if (device.IsCamera()) {
        applySettings(session, options.camera, signals);
        return {};
    }
    applyPicture(session, options.picture);
    session.WaitForFreshFrame(signals);
    if (options.picture.dark.empty()) return applyKeptDark(session, device);
    applyDarkFile(session, options.picture.dark);
    return "the dark frame " + options.picture.dark + " is applied";
}

void captureDark(Session& session, const std::string& name, uint32_t frames, const Signals& signals,
                 const std::function<void(uint32_t taken)>& told) {
    const HRESULT begun = vexcap_dfc_capture(session.Context(), frames);
    if (begun <= 0)
        throw Failure(exitFailure, quoted(name) + " gives no dark frame" + (begun ? ": " + resultText(begun) : ""));
    StallWatch stall(session.StallSeconds());
    for (uint32_t taken = 0;;) {
        const News news = session.Wait(roundMilliseconds, signals);
        if (news.dark) taken = std::max(taken, news.dark->taken);
        told(taken);
        if (news.dark && news.dark->done) return;
        if (news.asked) throw Failure(exitAborted, "ended before the dark frame was there");
        if (news.lost || stall.Stalled(taken, steadySeconds()))
            throw Failure(exitDeviceLost, quoted(name) + " sends no frames");
    }
}

}  // namespace vexcap::cli
