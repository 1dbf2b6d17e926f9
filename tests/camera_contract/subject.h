// The camera library under test, and what every test needs of it.
#pragma once

#include <vexcap/camera_library.h>

#include <string>
#include <utility>
#include <vector>

namespace vexcap::contract {

/// The library that the command line named. Loaded once and never unloaded.
struct Subject {
    std::string path;
    std::string prefix = "Vexcam";
    vex_camera_enum enumerate = nullptr;
    vex_camera_open open = nullptr;
    vex_camera_open_status openStatus = nullptr;
    vex_camera_watch watch = nullptr;
    vex_camera_clarity clarity = nullptr;
    vex_camera_init_ocl initOcl = nullptr;
    std::vector<std::string> names;      ///< Identifiers of the cameras to test.
    std::vector<std::string> lostNames;  ///< Identifiers of cameras that lose their device after a while.

    /// Empty, or why the library does not load.
    std::string load();
    /// A name that the library exports under its prefix.
    std::string nameOf(const char* name) const { return prefix + "_" + name; }

private:
    void* symbol(const char* name) const;
    void* library = nullptr;
};
Subject& subject();

/// The list as EnumV2 gives it, the identifiers as ASCII.
std::vector<std::string> listedNames();

/// A camera from Open to Close.
class Camera final {
public:
    /// Opened with the first open-mode character that the library takes for it; empty when there is none.
    explicit Camera(const std::string& identifier);
    Camera(const std::string& identifier, char mode);
    ~Camera() { close(); }
    Camera(const Camera&) = delete;
    Camera& operator=(const Camera&) = delete;

    explicit operator bool() const { return camera != nullptr; }
    ICamera* operator->() const { return camera; }
    ICamera* get() const { return camera; }
    void close();

private:
    ICamera* camera = nullptr;
};

/// An interface of a camera from QueryInterface to Release.
template <typename Interface>
class Held final {
public:
    Held(IVexUnknown* object, const vex_guid& iid) {
        void* out = nullptr;
        if (object->QueryInterface(iid, &out) >= 0) held = static_cast<Interface*>(out);
    }
    ~Held() { release(); }
    Held(const Held&) = delete;
    Held& operator=(const Held&) = delete;

    explicit operator bool() const { return held != nullptr; }
    Interface* operator->() const { return held; }
    Interface* get() const { return held; }
    uint32_t release() { return held != nullptr ? std::exchange(held, nullptr)->Release() : 0; }

private:
    Interface* held = nullptr;
};

struct Size {
    int64_t width = 0, height = 0;
    friend bool operator==(const Size&, const Size&) = default;
};

/// Size of the frames that come: the region or else the size, over the binning factor, both sides made even, turned.
Size frameSize(ICamera* camera);

/// Sets a short exposure where the camera has controls, so that tests do not wait for light.
void quicken(ICamera* camera);

}  // namespace vexcap::contract
