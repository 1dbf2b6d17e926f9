#include "companions/cameras/genicam/discovery.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace vexcap::cameras {
namespace {

constexpr guint16 gvcpPort = 3956;
constexpr std::array<uint8_t, 8> discoveryCommand{0x42, 0x01, 0x00, 0x02, 0x00, 0x00, 0x00, 0x01};
constexpr std::array<uint8_t, 8> discoveryAnswer{0x00, 0x00, 0x00, 0x03, 0x00, 0xF8, 0x00, 0x01};
// In the answer, behind its eight bytes of header.
constexpr size_t vendorAt = 8 + 0x48;
constexpr size_t modelAt = 8 + 0x68;
constexpr size_t serialAt = 8 + 0xD8;
constexpr size_t nameRoom = 32;
constexpr size_t serialRoom = 16;
constexpr size_t answerBytes = 8 + 0xF8;
constexpr std::chrono::milliseconds openPatience{500};
constexpr int asks = 2;  // a packet may be lost

using Answer = std::array<char, answerBytes>;

GObjectPtr<GInetAddress> parseAddress(std::string_view text) {
    GObjectPtr<GInetAddress> parsed(g_inet_address_new_from_string(std::string(text).c_str()));
    if (parsed && g_inet_address_get_family(parsed.get()) != G_SOCKET_FAMILY_IPV4) parsed.reset();
    return parsed;
}

GObjectPtr<GSocketAddress> endpointOf(const std::string& address) {
    const auto parsed = parseAddress(address);
    return GObjectPtr<GSocketAddress>(parsed ? g_inet_socket_address_new(parsed.get(), gvcpPort) : nullptr);
}

GObjectPtr<GSocket> makeSocket() {
    ArvError error;
    GObjectPtr<GSocket> made(
        g_socket_new(G_SOCKET_FAMILY_IPV4, G_SOCKET_TYPE_DATAGRAM, G_SOCKET_PROTOCOL_UDP, error.out()));
    if (made) g_socket_set_blocking(made.get(), FALSE);
    return made;
}

std::string textAt(const Answer& answer, size_t position, size_t room) {
    const char* const text = answer.data() + position;
    return std::string(text, strnlen(text, room));
}

// One answer from the socket, with its sender; an empty sender when nothing is there.
std::string receive(GSocket* socket, Answer& answer) {
    ArvError error;
    GSocketAddress* from = nullptr;
    const gssize got = g_socket_receive_from(socket, &from, answer.data(), answer.size(), nullptr, error.out());
    const GObjectPtr<GSocketAddress> sender(from);
    if (got != gssize(answer.size()) || !from || !G_IS_INET_SOCKET_ADDRESS(from)) return {};
    if (std::memcmp(answer.data(), discoveryAnswer.data(), discoveryAnswer.size()) != 0) return {};
    const GlibArray<char> text(
        g_inet_address_to_string(g_inet_socket_address_get_address(G_INET_SOCKET_ADDRESS(from))));
    return text.get();
}

}  // namespace

GigeSearch gigeSearchOf(const char* text) {
    GigeSearch search;
    std::string_view rest = text ? text : "";
    search.everywhere = rest == "1" || rest == "on" || rest == "yes";
    while (!search.everywhere && !rest.empty()) {
        const size_t comma = std::min(rest.find(','), rest.size());
        std::string_view word = rest.substr(0, comma);
        rest.remove_prefix(std::min(comma + 1, rest.size()));
        while (word.starts_with(' ')) word.remove_prefix(1);
        while (word.ends_with(' ')) word.remove_suffix(1);
        if (isAddress(word)) search.addresses.emplace_back(word);
    }
    return search;
}

bool isAddress(std::string_view text) { return parseAddress(text) != nullptr; }

std::vector<NetworkCamera> askCameras(std::span<const std::string> addresses, std::chrono::milliseconds patience) {
    const auto socket = makeSocket();
    if (!socket) return {};
    std::vector<NetworkCamera> found(addresses.size());
    size_t answered = 0;
    const gint64 slice = gint64(patience.count()) * 1000 / asks;
    for (int ask = 0; ask < asks && answered < addresses.size(); ++ask) {
        for (size_t i = 0; i < addresses.size(); ++i) {
            const auto endpoint = endpointOf(addresses[i]);
            ArvError error;  // an address without a route simply does not answer
            if (endpoint && found[i].address.empty())
                g_socket_send_to(socket.get(), endpoint.get(), reinterpret_cast<const gchar*>(discoveryCommand.data()),
                                 discoveryCommand.size(), nullptr, error.out());
        }
        const gint64 end = g_get_monotonic_time() + slice;
        for (gint64 left = slice; left > 0 && answered < addresses.size(); left = end - g_get_monotonic_time()) {
            ArvError error;
            if (!g_socket_condition_timed_wait(socket.get(), G_IO_IN, left, nullptr, error.out())) continue;
            Answer answer{};
            const std::string sender = receive(socket.get(), answer);
            for (size_t i = 0; i < addresses.size(); ++i) {
                if (sender != addresses[i] || !found[i].address.empty()) continue;
                found[i] = {sender, textAt(answer, vendorAt, nameRoom), textAt(answer, modelAt, nameRoom),
                            textAt(answer, serialAt, serialRoom)};
                ++answered;
            }
        }
    }
    std::erase_if(found, [](const NetworkCamera& camera) { return camera.address.empty(); });
    return found;
}

Result<GObjectPtr<ArvCamera>> openAddress(const std::string& address) {
    // Opening an address where nothing is takes Aravis seconds; asking does not.
    if (askCameras({&address, 1}, openPatience).empty()) return VEX_E_FILE_NOT_FOUND;
    const auto endpoint = endpointOf(address);
    const auto socket = makeSocket();
    ArvError error;
    // Connecting sends nothing; it tells from which of the own addresses the camera is reached.
    if (!socket || !g_socket_connect(socket.get(), endpoint.get(), nullptr, error.out())) return E_FAIL;
    const GObjectPtr<GSocketAddress> local(g_socket_get_local_address(socket.get(), error.out()));
    if (!local || !G_IS_INET_SOCKET_ADDRESS(local.get())) return E_FAIL;
    const GObjectPtr<ArvDevice> device(
        arv_gv_device_new(g_inet_socket_address_get_address(G_INET_SOCKET_ADDRESS(local.get())),
                          g_inet_socket_address_get_address(G_INET_SOCKET_ADDRESS(endpoint.get())), error.out()));
    if (!device) return failureOf(error);
    GObjectPtr<ArvCamera> camera(arv_camera_new_with_device(device.get(), error.out()));
    if (!camera) return failureOf(error);
    return camera;
}

}  // namespace vexcap::cameras
