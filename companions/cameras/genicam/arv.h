// Aravis with owners: objects that are given back, errors that are freed.
#pragma once

#include <arv.h>
#include <vexcap/types.h>

#include <memory>

namespace vexcap::cameras {

struct GObjectUnref {
    void operator()(void* object) const { g_object_unref(object); }
};
/// One reference to a GObject.
template <typename T>
using GObjectPtr = std::unique_ptr<T, GObjectUnref>;

struct GlibFree {
    void operator()(void* memory) const { g_free(memory); }
};
/// An array that Aravis made for its caller; the strings in it are the camera's.
template <typename T>
using GlibArray = std::unique_ptr<T[], GlibFree>;

/// The error of one call into Aravis. A second call with the same object forgets the first one's error.
class ArvError final {
public:
    ArvError() = default;
    ~ArvError() { g_clear_error(&error); }
    ArvError(const ArvError&) = delete;
    ArvError& operator=(const ArvError&) = delete;

    /// For the last argument of a call.
    GError** out() {
        g_clear_error(&error);
        return &error;
    }
    bool failed() const { return error != nullptr; }
    /// S_OK without an error; E_NOTIMPL for a feature that the camera does not have.
    HRESULT code() const;

private:
    GError* error = nullptr;
};

/// The code of a call that gave nothing, with or without an error.
inline HRESULT failureOf(const ArvError& error) { return error.failed() ? error.code() : E_FAIL; }

}  // namespace vexcap::cameras
