// GigE Vision cameras that are asked at their address, without a broadcast and without taking their control.
#pragma once

#include <chrono>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "base/status.h"
#include "companions/cameras/genicam/arv.h"

namespace vexcap::cameras {

/// Where network cameras are looked for.
struct GigeSearch {
    bool everywhere = false;             ///< On every interface, by broadcast.
    std::vector<std::string> addresses;  ///< Else at these; none: not at all.

    bool allowed() const { return everywhere || !addresses.empty(); }
};

/// From the text of VEXCAP_GIGE: "1", "on" and "yes" are everywhere, else it is a list of addresses with commas
/// between. What is no IPv4 address is skipped; null and empty are no search.
GigeSearch gigeSearchOf(const char* text);

/// True for an IPv4 address in numbers.
bool isAddress(std::string_view text);

/// What a camera tells of itself.
struct NetworkCamera {
    std::string address;
    std::string vendor;
    std::string model;
    std::string serial;
};

/// Those cameras that answer, in the order of `addresses`. Takes `patience` at most, for all of them together, and
/// less when all answer.
std::vector<NetworkCamera> askCameras(std::span<const std::string> addresses, std::chrono::milliseconds patience);

/// Opens the camera at an address; VEX_E_FILE_NOT_FOUND when none answers there. Sends to no other address.
Result<GObjectPtr<ArvCamera>> openAddress(const std::string& address);

}  // namespace vexcap::cameras
