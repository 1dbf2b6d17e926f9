// Bytes decide what a camera library answers while a host uses it, and what the host does.
#include <unistd.h>
#include <vexcap/vexcap.h>

#include <cstdlib>
#include <new>
#include <string>
#include <thread>

#include "tests/fuzzed_cameras/fuzzed_cameras.h"
#include "tests/support/text.h"

// Cameras that tell gigantic sizes make the engine ask for gigantic memory. It is refused, as a small machine would
// refuse it: the fuzzer's own bound of memory is kept, and the ways out of a failed allocation are walked.
namespace {

constexpr size_t mostMemory = size_t{256} << 20;

void* allocate(size_t size) { return size <= mostMemory ? std::malloc(size) : nullptr; }

void* allocateOrThrow(size_t size) {
    if (void* const memory = allocate(size)) return memory;
    throw std::bad_alloc();
}

}  // namespace

void* operator new(size_t size) { return allocateOrThrow(size); }
void* operator new[](size_t size) { return allocateOrThrow(size); }
void* operator new(size_t size, const std::nothrow_t&) noexcept { return allocate(size); }
void* operator new[](size_t size, const std::nothrow_t&) noexcept { return allocate(size); }
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete[](void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, size_t) noexcept { std::free(memory); }
void operator delete[](void* memory, size_t) noexcept { std::free(memory); }
void operator delete(void* memory, const std::nothrow_t&) noexcept { std::free(memory); }
void operator delete[](void* memory, const std::nothrow_t&) noexcept { std::free(memory); }

extern "C" const char* __asan_default_options() { return "allocator_may_return_null=1:max_allocation_size_mb=512"; }

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static vex_window* const window = vex_window_queue_new();
    static const std::string stem = "/tmp/vexcap-engine-fuzz-" + std::to_string(::getpid());
    static const std::string paths[] = {stem + ".ser", stem + ".avi"};
    static const int home = ::setenv("HOME", "/tmp/vexcap-engine-fuzz", 1);  // where folders for recordings are made
    if (home != 0) return 0;
    static const std::u16string library = vexcap::test::wide(FUZZED_CAMERAS);
    fuzzed_input(data, size);
    vexcap_init(nullptr, u"Fuzz", u"Fuzz", u"Fuzz", library.c_str(), "Fuzzed", u"", 1, 2, 3, 4, 5, 0, 1, nullptr, 6, 1,
                0);
    vexcap_free_dsvi(vexcap_enum_device(nullptr));
    const vex_device device{u"$fuzzed", u"Fuzzed camera", VEX_KIND_CAMERA, 0};
    vexcap_context* const context = vexcap_device(window, window, &device, nullptr, nullptr, nullptr);
    for (uint8_t steps = 1 + fuzzed_byte() % 16; steps > 0; --steps) {
        vex_char text[32], told[260];
        vex_capability* sizes = nullptr;
        int32_t width = 0, height = 0;
        switch (fuzzed_byte() % 10) {
            case 0:
                vexcap_start(context, window, 7, 1, fuzzed_byte() % 2, fuzzed_byte() % 2);
                break;
            case 1:
                vexcap_put_timelapse(context, fuzzed_byte() % 4);
                vexcap_start_capture_astro(context, vexcap::test::wide(paths[fuzzed_byte() % 2]).c_str(),
                                           fuzzed_byte() % 2, fuzzed_byte() % 8);
                break;
            case 2:
                vexcap_stop_capture(context);
                break;
            case 3:
                vexcap_notify(context);
                break;
            case 4:
                vexcap_get_property(context, text, text);
                vexcap_video_size(context, &width, &height);
                vexcap_filepath(context, told);
                break;
            case 5:
                vexcap_get_capability(context, &sizes);
                vexcap_free_capability(sizes);
                vexcap_get_stillimage_capability(context, &sizes);
                vexcap_free_capability(sizes);
                break;
            case 6:
                vexcap_set_esize(context, fuzzed_byte(), fuzzed_byte() % 2);
                vexcap_set_state(context, fuzzed_byte() % 4);
                break;
            case 7:
                vexcap_start_capture_avi(context, vexcap::test::wide(paths[1]).c_str(), nullptr, fuzzed_byte() % 2);
                break;
            default:
                std::thread(fuzzed_deliver).join();
        }
        for (vex_message message; vex_window_queue_next(window, &message) == 1;) continue;
    }
    vexcap_stop(context);
    std::thread(fuzzed_deliver).join();  // a library that goes on after its Close
    fuzzed_forget();
    vexcap_fini();
    for (const std::string& path : paths) ::unlink(path.c_str());
    return 0;
}
