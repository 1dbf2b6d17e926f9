// A host of the library as small as it can be: one queue window, one engine, one context.
#pragma once

#include <vexcap/vexcap.h>

#include <functional>
#include <string>
#include <vector>

namespace vexcap::test {

/// The message numbers that every test gives to vexcap_init.
enum Message : uint32_t {
    eventMessage = 0x401,
    sizeMessage = 0x402,
    limitMessage = 0x403,
    darkMessage = 0x404,
    frameMessage = 0x405,
    deviceMessage = 0x406,
    stillMessage = 0x407
};

/// A queue window that remembers what was posted. Used on one thread.
class QueueWindow final {
public:
    QueueWindow();
    ~QueueWindow();
    QueueWindow(const QueueWindow&) = delete;
    QueueWindow& operator=(const QueueWindow&) = delete;

    vex_window* get() const { return window; }
    /// Takes messages and runs timers until `done` says so; false when `milliseconds` are over first.
    bool pumpUntil(const std::function<bool()>& done, int milliseconds);
    void pumpFor(int milliseconds);
    /// Waits for a message of this number that was not there before the call.
    bool pumpUntilMessage(uint32_t message, int milliseconds);
    const std::vector<vex_message>& messages() const { return taken; }
    size_t count(uint32_t message) const;
    void forget() { taken.clear(); }

private:
    vex_window* window;
    std::vector<vex_message> taken;
};

struct EngineOptions {
    std::string prefix = "Vexcam";
    bool astro = true;
    bool gains = false;
    bool direct2d = false;
    std::string settings = {};  ///< Directory of the settings; empty: nothing is remembered.
};

/// vexcap_init to vexcap_fini.
class Engine final {
public:
    explicit Engine(const std::string& cameraLibrary, EngineOptions options = {});
    ~Engine();
    Engine(const Engine&) = delete;
    Engine& operator=(const Engine&) = delete;

private:
    vex_key* const root;
};

/// vexcap_device to vexcap_stop.
class Context final {
public:
    Context(vex_window* window, const std::string& name, const std::string& display, uint32_t kind = VEX_KIND_CAMERA);
    ~Context() { stop(); }
    Context(const Context&) = delete;
    Context& operator=(const Context&) = delete;

    vexcap_context* get() const { return context; }
    HRESULT start() { return vexcap_start(context, nullptr, 0, 0, 0, 0); }
    HRESULT record(const std::string& path, int32_t seconds = 0, int32_t frames = 0);
    /// Frees the context; a second call does nothing.
    void stop();
    vex_recording_counts counts() const;

private:
    vexcap_context* context;
};

/// Names in a folder of /proc/self: "task" for threads, "fd" for descriptors.
size_t countOf(const char* folder);

}  // namespace vexcap::test
