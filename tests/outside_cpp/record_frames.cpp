// A program of somebody else: records a few frames of a camera and tells what became of them.
#include <vexcap/camera_library.h>
#include <vexcap/vexcap.h>

#include <iostream>
#include <memory>
#include <string>

namespace {

constexpr uint32_t limitMessage = 3;

std::u16string widen(const std::string& text) { return {text.begin(), text.end()}; }

int run(const std::string& file) {
    const std::unique_ptr<vex_window, decltype(&vex_window_queue_free)> window(vex_window_queue_new(),
                                                                               vex_window_queue_free);
    const vex_device device{u"$sim-fast", u"Simulated fast camera", VEX_KIND_CAMERA, 0};
    const std::unique_ptr<vexcap_context, decltype(&vexcap_stop)> context(
        vexcap_device(window.get(), window.get(), &device, nullptr, nullptr, nullptr), vexcap_stop);
    if (vexcap_start(context.get(), nullptr, 0, 0, 0, 0) < 0) return 1;
    auto* const camera = static_cast<ICamera*>(vexcap_get_interface(context.get(), nullptr));
    if (camera == nullptr || camera->GetBitDepth() < 8) return 1;
    if (vexcap_start_capture_astro(context.get(), widen(file).c_str(), 0, 20) < 0) return 1;
    for (int rounds = 0; rounds < 600 && vexcap_fcapturing(context.get()) != 0; ++rounds) {
        vex_window_queue_wait(window.get(), 100);
        for (vex_message message; vex_window_queue_next(window.get(), &message) == 1;)
            if (message.message == limitMessage) std::cout << "the limit was reached\n";
    }
    vex_recording_counts counts{};
    if (vexcap_recording(context.get(), &counts) != 1) return 1;
    std::cout << counts.written << " frames, " << counts.bytes << " bytes\n";
    return counts.written == 20 && counts.lost == 0 ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) return 2;
    vexcap_init(nullptr, u"Outside", u"Outside", u"Outside", widen(argv[1]).c_str(), "Vexcam", u"", 1, 2, limitMessage,
                4, 5, 0, 1, nullptr, 0, 0, 0);
    const int result = run(argv[2]);
    vexcap_fini();
    return result;
}
