// Identity and reference counting.
#pragma once

#include <vexcap/camera_library.h>

#include <atomic>

#include "base/guid.h"
#include "base/ref.h"

namespace vexcap {

/// Lives by its references; begins with one. A class with more interfaces overrides NonDelegatingQueryInterface and
/// lets the three operations of each come here.
class CUnknown : public IVexUnknown {
public:
    CUnknown(const CUnknown&) = delete;
    CUnknown& operator=(const CUnknown&) = delete;

    HRESULT QueryInterface(const vex_guid& iid, void** out) override {
        if (!out) return E_POINTER;
        *out = nullptr;
        return NonDelegatingQueryInterface(iid, out);
    }
    uint32_t AddRef() override { return references.fetch_add(1, std::memory_order_relaxed) + 1; }
    uint32_t Release() override {
        const uint32_t left = references.fetch_sub(1, std::memory_order_acq_rel) - 1;
        if (left == 0) delete this;
        return left;
    }

protected:
    CUnknown() = default;
    virtual ~CUnknown() = default;

    /// Knows IVexUnknown. `*out` is null when it is called.
    virtual HRESULT NonDelegatingQueryInterface(const vex_guid& iid, void** out) {
        return iid == VEX_IID_UNKNOWN ? give(static_cast<IVexUnknown*>(this), out) : E_NOINTERFACE;
    }
    /// An interface of this object, with a reference.
    template <typename Interface>
    static HRESULT give(Interface* object, void** out) {
        object->AddRef();
        *out = object;
        return S_OK;
    }

private:
    std::atomic<uint32_t> references{1};
};

}  // namespace vexcap
