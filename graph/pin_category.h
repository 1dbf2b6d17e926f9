// Telling the category of a pin.
#pragma once

#include "graph/interfaces.h"

namespace vexcap {

/// IKsPropertySet of a pin that has a category, but for identity, which is the pin's. Nothing can be set. Any thread.
class CPinCategory : public IKsPropertySet {
public:
    HRESULT Set(const vex_guid& set, uint32_t id, const void* data, uint32_t bytes) override;
    /// 16 bytes. E_PROP_SET_UNSUPPORTED, E_PROP_ID_UNSUPPORTED; E_UNEXPECTED for less room; E_POINTER when neither the
    /// category nor its length is wanted.
    HRESULT Get(const vex_guid& set, uint32_t id, void* data, uint32_t room, uint32_t* returned) override;
    HRESULT QuerySupported(const vex_guid& set, uint32_t id, uint32_t* support) override;

protected:
    explicit CPinCategory(const vex_guid& pinCategory) : category(pinCategory) {}
    ~CPinCategory() = default;

private:
    const vex_guid category;
};

}  // namespace vexcap
