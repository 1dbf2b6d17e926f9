#include "tests/support/host.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <stdexcept>

#include "tests/support/text.h"

namespace vexcap::test {

using Clock = std::chrono::steady_clock;

QueueWindow::QueueWindow() : window(vex_window_queue_new()) {
    if (window == nullptr) throw std::runtime_error("no queue window");
}

QueueWindow::~QueueWindow() { vex_window_queue_free(window); }

bool QueueWindow::pumpUntil(const std::function<bool()>& done, int milliseconds) {
    const auto end = Clock::now() + std::chrono::milliseconds(milliseconds);
    for (;;) {
        vex_message message;
        while (vex_window_queue_next(window, &message) == 1)
            if (message.message != VEX_MESSAGE_INVALIDATE) taken.push_back(message);
        if (done()) return true;
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now()).count();
        if (left <= 0) return false;
        // `done` may look at something that posts no message.
        vex_window_queue_wait(window, int32_t(std::min<int64_t>(left, 5)));
    }
}

void QueueWindow::pumpFor(int milliseconds) {
    pumpUntil([] { return false; }, milliseconds);
}

bool QueueWindow::pumpUntilMessage(uint32_t message, int milliseconds) {
    const size_t before = count(message);
    return pumpUntil([&] { return count(message) > before; }, milliseconds);
}

size_t QueueWindow::count(uint32_t message) const {
    return size_t(
        std::count_if(taken.begin(), taken.end(), [&](const vex_message& m) { return m.message == message; }));
}

Engine::Engine(const std::string& cameraLibrary, EngineOptions options)
    : root(vex_key_directory(options.settings.c_str())) {
    vexcap_init(root, u"Tests", u"vexcap tests", u"vexcap tests", wide(cameraLibrary).c_str(), options.prefix.c_str(),
                u"", eventMessage, sizeMessage, limitMessage, darkMessage, frameMessage, 0, options.astro, nullptr,
                deviceMessage, options.direct2d, options.gains);
}

Engine::~Engine() {
    vexcap_fini();
    vex_key_free(root);
}

Context::Context(vex_window* window, const std::string& name, const std::string& display, uint32_t kind) {
    const std::u16string wideName = wide(name);
    const std::u16string wideDisplay = wide(display);
    const vex_device device{wideName.c_str(), wideDisplay.c_str(), kind, 0};
    context = vexcap_device(window, window, &device, nullptr, nullptr, nullptr);
}

HRESULT Context::record(const std::string& path, int32_t seconds, int32_t frames) {
    return vexcap_start_capture_astro(context, wide(path).c_str(), seconds, frames);
}

void Context::stop() {
    vexcap_stop(context);
    context = nullptr;
}

vex_recording_counts Context::counts() const {
    vex_recording_counts counts{};
    vexcap_recording(context, &counts);
    return counts;
}

size_t countOf(const char* folder) {
    const auto entries = std::filesystem::directory_iterator(std::string("/proc/self/") + folder);
    return size_t(std::distance(begin(entries), end(entries)));
}

}  // namespace vexcap::test
