#include "hosts/common/prepare.h"

#include <algorithm>

#include "hosts/common/controls.h"
#include "hosts/common/failure.h"
#include "hosts/common/text/result_text.h"
#include "hosts/common/text/text.h"

namespace vexcap::host {

namespace {

constexpr int roundMilliseconds = 100;

std::string quoted(const std::string& name) { return "\"" + name + "\""; }

}  // namespace

void checkTakesDark(const Device& device) {
    if (device.IsCamera())
        throw Failure(exitUsage,
                      quoted(device.name) + " is a camera, and cameras take no dark frame; video input devices do");
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

std::string preparePicture(Session& session, const Device& device, const SourceSettings& wished,
                           const StopRequest& stop) {
    if (wished.format) session.SetFormat(*wished.format, stop);
    if (device.IsCamera()) {
        applySettings(session, wished.camera, stop);
        return {};
    }
    applyPicture(session, wished.picture);
    session.WaitForFreshFrame(stop);
    if (wished.picture.dark.empty()) return applyKeptDark(session, device);
    applyDarkFile(session, wished.picture.dark);
    return "the dark frame " + wished.picture.dark + " is applied";
}

void captureDark(Session& session, const std::string& name, uint32_t frames, const StopRequest& stop,
                 const std::function<void(uint32_t taken)>& told) {
    const HRESULT begun = vexcap_dfc_capture(session.Context(), frames);
    if (begun <= 0)
        throw Failure(exitFailure, quoted(name) + " gives no dark frame" + (begun ? ": " + resultText(begun) : ""));
    StallWatch stall(session.StallSeconds());
    for (uint32_t taken = 0;;) {
        const News news = session.Wait(roundMilliseconds, stop);
        if (news.dark) taken = std::max(taken, news.dark->taken);
        told(taken);
        if (news.dark && news.dark->done) return;
        if (news.asked) throw Failure(exitAborted, "ended before the dark frame was there");
        if (news.lost || stall.Stalled(taken, steadySeconds()))
            throw Failure(exitDeviceLost, quoted(name) + " sends no frames");
    }
}

}  // namespace vexcap::host
