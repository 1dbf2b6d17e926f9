// How GenICam cameras are named in the list.
#pragma once

#include <string>
#include <string_view>

namespace vexcap::cameras {

/// The identifier of the camera with this Aravis id or address: at most 63 units. The name of a long id ends with a
/// check sum over all of it, since its own end, where the serial number stands, has no room.
std::u16string genicamIdentifier(std::string_view id);

/// "Vendor Model (serial)"; what is empty is left out.
std::u16string genicamDisplayName(std::string_view vendor, std::string_view model, std::string_view serial);

}  // namespace vexcap::cameras
