// Port: the video encoders of this machine.
#pragma once

#include <vexcap/types.h>

#include <cstdint>
#include <string>
#include <vector>

namespace vexcap {

/// Output formats of the encoders.
inline constexpr vex_guid videoFormatH264 = {0x34363248, 0x0000, 0x0010, {0x80, 0, 0, 0xAA, 0, 0x38, 0x9B, 0x71}};
inline constexpr vex_guid videoFormatHevc = {0x43564548, 0x0000, 0x0010, {0x80, 0, 0, 0xAA, 0, 0x38, 0x9B, 0x71}};

/// One hardware video encoder on one adapter.
struct GpuEncoder {
    vex_guid codec = {};         ///< videoFormatH264 or videoFormatHevc.
    std::u16string adapterName;  ///< Empty when the adapter is unknown.
    std::u16string encoderName;
    uint64_t luid = 0;      ///< The adapter's number, 0 when it is unknown.
    uint32_t vendorId = 0;  ///< PCI vendor.
};

/// What can encode H.264 and H.265 here.
struct EncoderOffer {
    bool softwareH264 = false;
    bool softwareHevc = false;
    bool hardwareH264 = false;
    bool hardwareHevc = false;
    bool hasGpuList = false;  ///< The adapters of `gpuEncoders` are known, so that a user can choose one.
    std::vector<GpuEncoder> gpuEncoders;
};

/// Host's thread.
struct IEncoderCatalogue {
    virtual ~IEncoderCatalogue() = default;
    virtual EncoderOffer Discover() = 0;
};

}  // namespace vexcap
