#include "companions/cameras/genicam/arv.h"

namespace vexcap::cameras {

HRESULT ArvError::code() const {
    if (!error) return S_OK;
    if (error->domain == ARV_DEVICE_ERROR) {
        switch (error->code) {
            case ARV_DEVICE_ERROR_WRONG_FEATURE:
            case ARV_DEVICE_ERROR_FEATURE_NOT_FOUND:
            case ARV_DEVICE_ERROR_PROTOCOL_ERROR_NOT_IMPLEMENTED:
                return E_NOTIMPL;
            case ARV_DEVICE_ERROR_INVALID_PARAMETER:
            case ARV_DEVICE_ERROR_PROTOCOL_ERROR_INVALID_PARAMETER:
                return E_INVALIDARG;
            case ARV_DEVICE_ERROR_PROTOCOL_ERROR_WRITE_PROTECT:
                return E_ACCESSDENIED;
            case ARV_DEVICE_ERROR_NOT_CONTROLLER:
            case ARV_DEVICE_ERROR_PROTOCOL_ERROR_ACCESS_DENIED:
            case ARV_DEVICE_ERROR_PROTOCOL_ERROR_BUSY:
                return VEX_E_BUSY;
            default:
                return E_FAIL;
        }
    }
    if (error->domain == ARV_GC_ERROR) {
        switch (error->code) {
            case ARV_GC_ERROR_NODE_NOT_FOUND:
            case ARV_GC_ERROR_ENUM_ENTRY_NOT_FOUND:
                return E_NOTIMPL;
            case ARV_GC_ERROR_OUT_OF_RANGE:
                return E_INVALIDARG;
            case ARV_GC_ERROR_READ_ONLY:
                return E_ACCESSDENIED;
            default:
                return E_FAIL;
        }
    }
    return E_FAIL;
}

}  // namespace vexcap::cameras
