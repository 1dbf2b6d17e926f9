#include "hosts/cli/commands/dark.h"

#include <poll.h>
#include <unistd.h>

#include <cstdio>

#include "hosts/cli/report/json.h"
#include "hosts/cli/report/output.h"
#include "hosts/cli/report/progress_view.h"
#include "hosts/common/failure.h"
#include "hosts/common/prepare.h"
#include "hosts/common/session.h"
#include "hosts/common/text/result_text.h"
#include "hosts/common/text/text.h"

namespace vexcap::cli {

namespace {

constexpr uint32_t usualFrames = 50;

Device deviceOf(const Engine& engine, const std::string& wanted) {
    if (!wanted.empty()) {
        Device device = engine.Find(wanted);
        checkTakesDark(device);
        return device;
    }
    std::vector<Device> devices = engine.Devices();
    std::erase_if(devices, [](const Device& d) { return d.IsCamera(); });
    if (devices.empty()) throw Failure(exitNoDevice, "no video input device found");
    if (devices.size() > 1)
        throw Failure(exitUsage, "several video input devices are there; --device names one of them");
    return devices.front();
}

std::vector<DarkFolder::Entry> keptFor(const DarkFolder& folder, const Device& device) {
    std::vector<DarkFolder::Entry> kept = folder.List(device);
    if (kept.empty())
        throw Failure(exitFailure,
                      "no dark frame is kept for \"" + device.name + "\"; \"vexcap dark capture\" takes one");
    return kept;
}

std::string entryText(const DarkFolder::Entry& entry, bool json) {
    if (!json) return (entry.on ? "on   " : "off  ") + sizeText(entry.size) + "  " + entry.path;
    return JsonObject()
        .Text("type", "dark")
        .Flag("on", entry.on)
        .Integer("width", entry.size.width)
        .Integer("height", entry.size.height)
        .Text("file", entry.path)
        .Line();
}

void print(const std::vector<DarkFolder::Entry>& entries, bool json) {
    for (const DarkFolder::Entry& entry : entries) printLine(entryText(entry, json));
}

/// Waits for Enter where somebody sits at a terminal.
void askForDark(Session& session, const Signals& signals) {
    if (!isatty(STDIN_FILENO)) {
        std::fprintf(stderr, "The dark frame is taken now: no light may fall on the sensor.\n");
        return;
    }
    std::fprintf(stderr, "Cover the light, then press Enter. ");
    for (pollfd terminal = {STDIN_FILENO, POLLIN, 0}; poll(&terminal, 1, 0) <= 0;) {
        const News news = session.Wait(50, signals);
        if (news.asked) throw Failure(exitAborted, "ended before the dark frame was there");
        if (news.lost) throw Failure(exitDeviceLost, "the device is gone");
    }
    char line[256];
    [[maybe_unused]] const ssize_t bytes = read(STDIN_FILENO, line, sizeof line);
}

/// Keeps what the session has as dark frame, switches it on and tells where it is.
void keep(const Session& session, const DarkFolder& folder, const Device& device, bool json) {
    const Size size = session.PictureSize();
    const std::string path = folder.Keep(device, size, [&](const std::string& file) {
        const HRESULT result = vexcap_dfc_export(session.Context(), toUtf16(file).c_str());
        if (result < 0)
            throw Failure(exitFailure, "the dark frame cannot be kept in " + file + ": " + resultText(result));
    });
    folder.Switch(device, true);
    print({{.name = {}, .size = size, .path = path}}, json);
}

ExitCode capture(const Options& options, const DarkFolder& folder, Engine& engine, const Device& device,
                 const Signals& signals) {
    const uint32_t frames = options.frames ? static_cast<uint32_t>(options.frames) : usualFrames;
    Session session(engine, device);
    if (options.source.format) session.SetFormat(*options.source.format, signals);
    session.WaitForFreshFrame(signals);
    askForDark(session, signals);
    {
        ProgressView view(ProgressView::KindFor(options.json, false));
        const double start = steadySeconds();
        captureDark(session, device.name, frames, signals, [&](uint32_t taken) {
            view.Show(steadySeconds() - start, [&](ProgressView::Kind kind, int, bool) {
                if (kind == ProgressView::Kind::Json)
                    return JsonObject().Text("type", "progress").Integer("frames", taken).Integer("of", frames).Line();
                return "dark frame: " + std::to_string(taken) + " of " + std::to_string(frames);
            });
        });
    }
    keep(session, folder, device, options.json);
    return exitDone;
}

ExitCode import(const Options& options, const DarkFolder& folder, Engine& engine, const Device& device,
                const Signals& signals) {
    Session session(engine, device);
    if (options.source.format) session.SetFormat(*options.source.format, signals);
    session.WaitForFreshFrame(signals);
    applyDarkFile(session, options.files.front());
    keep(session, folder, device, options.json);
    return exitDone;
}

void copyOut(const Options& options, const std::vector<DarkFolder::Entry>& kept) {
    std::vector<DarkFolder::Entry> fitting = kept;
    if (options.darkSize) std::erase_if(fitting, [&](const auto& entry) { return entry.size != *options.darkSize; });
    if (fitting.size() == 1) return copyFile(fitting.front().path, options.files.front(), options.overwrite);
    std::string text = fitting.empty() ? "no dark frame of this size is kept; there are:"
                                       : "several dark frames are kept; --size names one:";
    for (const DarkFolder::Entry& entry : kept) text += " " + sizeText(entry.size);
    throw Failure(exitUsage, text);
}

}  // namespace

ExitCode manageDark(const Options& options, const Signals& signals) {
    const DarkFolder folder = DarkFolder::ofUser();
    if (options.darkAction == DarkAction::Show && options.device.empty()) {
        print(folder.List(), options.json);
        return exitDone;
    }
    Engine engine(options.engine, Mode::Pictures);
    const Device device = deviceOf(engine, options.device);
    switch (options.darkAction) {
        case DarkAction::Capture:
            return capture(options, folder, engine, device, signals);
        case DarkAction::Import:
            return import(options, folder, engine, device, signals);
        case DarkAction::Export:
            copyOut(options, keptFor(folder, device));
            return exitDone;
        case DarkAction::On:
        case DarkAction::Off:
            keptFor(folder, device);
            folder.Switch(device, options.darkAction == DarkAction::On);
            return exitDone;
        case DarkAction::Show:
            print(folder.List(device), options.json);
            break;
    }
    return exitDone;
}

}  // namespace vexcap::cli
