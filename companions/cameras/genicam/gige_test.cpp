// Network cameras: a camera program of its own on the loopback of a network of its own, so that no packet leaves it.
#include <arv.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <net/if.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <optional>
#include <sstream>
#include <thread>

#include "base/text.h"
#include "companions/cameras/genicam/discovery.h"
#include "companions/cameras/genicam/gige_testing.h"
#include "companions/cameras/provider.h"
#include "tests/support/sanitizer.h"

namespace vexcap::cameras {
namespace genicam_gige_test {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr char cameraProgram[] = "arv-fake-gv-camera-0.8";
constexpr char cameraAddress[] = "127.0.0.1";
constexpr int skipped = 77;

double secondsSince(Clock::time_point start) { return std::chrono::duration<double>(Clock::now() - start).count(); }

/// The camera program, for the length of a block.
class CameraProgram final {
public:
    explicit CameraProgram(const char* lossPerThousand = "0") {
        child = fork();
        if (child == 0) {
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            const int silence = open("/dev/null", O_WRONLY);
            dup2(silence, STDOUT_FILENO);
            dup2(silence, STDERR_FILENO);
            execlp(cameraProgram, cameraProgram, "-i", cameraAddress, "-s", "GV01", "-r", lossPerThousand, nullptr);
            _exit(127);
        }
    }
    ~CameraProgram() { kill(); }
    CameraProgram(const CameraProgram&) = delete;
    CameraProgram& operator=(const CameraProgram&) = delete;

    void kill() {
        if (child <= 0) return;
        ::kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
        child = 0;
    }
    static bool answers() {
        const std::string address = cameraAddress;
        for (int i = 0; i < 50; ++i)
            if (!askCameras({&address, 1}, 200ms).empty()) return true;
        return false;
    }

private:
    pid_t child = 0;
};

/// A counter of this network, as /proc tells it: a line of names, and a line of numbers below it.
uint64_t networkCounter(const char* file, const std::string& group, const std::string& name) {
    std::ifstream stream(file);
    std::string names;
    std::string numbers;
    while (std::getline(stream, names) && std::getline(stream, numbers)) {
        if (!names.starts_with(group)) continue;
        std::istringstream nameWords(names);
        std::istringstream numberWords(numbers);
        std::string word;
        std::string number;
        while (nameWords >> word && numberWords >> number)
            if (word == name) return std::stoull(number);
    }
    ADD_FAILURE() << "no counter " << group << ' ' << name;
    return 0;
}
uint64_t datagramsSent() { return networkCounter("/proc/net/snmp", "Udp:", "OutDatagrams"); }
uint64_t broadcastsSent() { return networkCounter("/proc/net/netstat", "IpExt:", "OutBcastPkts"); }

/// An opened network camera with its host, closed at the end.
class NetworkStream final {
public:
    explicit NetworkStream(ICamera* opened) : camera(opened) {
        if (!camera) return;
        controls.emplace(camera, VEX_IID_CAMERA_CONTROLS);
        status.emplace(camera, VEX_IID_CAMERA_STATUS);
        raw.emplace(camera, VEX_IID_CAMERA_RAW);
    }
    ~NetworkStream() { close(); }
    NetworkStream(const NetworkStream&) = delete;
    NetworkStream& operator=(const NetworkStream&) = delete;

    void close() {
        raw.reset();
        status.reset();
        controls.reset();
        if (camera) camera->Close();
        camera = nullptr;
    }
    HRESULT start() { return host.start(camera, raw->get()); }
    HRESULT put(uint32_t control, int32_t value) { return (*controls)->Put(control, value); }
    uint32_t lost() {
        uint32_t count = 0;
        EXPECT_EQ((*status)->GetLostFrames(&count), S_OK);
        return count;
    }
    uint32_t state() {
        uint32_t value = 99;
        EXPECT_EQ((*status)->GetState(&value), S_OK);
        return value;
    }

    ICamera* camera;
    FakeHost host;
    std::optional<Ask<ICameraControls>> controls;
    std::optional<Ask<ICameraStatus>> status;
    std::optional<Ask<ICameraRaw>> raw;
};

class GigeCamera : public testing::Test {
protected:
    void SetUp() override { setenv("VEXCAP_GIGE", cameraAddress, 1); }
    void TearDown() override { unsetenv("VEXCAP_GIGE"); }

    static Result<ICamera*> tryAddressed() { return genicamProvider().Open(u"genicam:127.0.0.1"); }
    static ICamera* openAddressed() {
        const Result<ICamera*> opened = tryAddressed();
        return opened.ok() ? opened.value() : nullptr;
    }
    static std::vector<std::u16string> list() {
        std::vector<vex_camera_entry> entries;
        genicamProvider().List(entries);
        std::vector<std::u16string> names;
        for (const vex_camera_entry& entry : entries)
            names.push_back(std::u16string(textOfField(entry.identifier, std::size(entry.identifier))) + u" = " +
                            std::u16string(textOfField(entry.display, std::size(entry.display))));
        return names;
    }
    /// As another program would leave the camera.
    static void leaveFormat(ArvPixelFormat format) {
        const GObjectPtr<ArvCamera> other = openAddress(cameraAddress).value();
        ASSERT_TRUE(other);
        ArvError error;
        arv_camera_set_pixel_format(other.get(), format, error.out());
        ASSERT_FALSE(error.failed());
    }
};

TEST_F(GigeCamera, NoPacketIsSentWithoutLeave) {
    CameraProgram program;
    ASSERT_TRUE(CameraProgram::answers());
    unsetenv("VEXCAP_GIGE");
    // Packets of the question above may still be answered.
    uint64_t before = 0;
    do {
        before = datagramsSent();
        std::this_thread::sleep_for(100ms);
    } while (datagramsSent() != before);
    EXPECT_TRUE(list().empty());
    EXPECT_EQ(genicamProvider().Open(u"genicam:Aravis-Fake-GV01").code(), VEX_E_FILE_NOT_FOUND);
    EXPECT_EQ(tryAddressed().code(), E_ACCESSDENIED);
    EXPECT_EQ(datagramsSent(), before);
}

TEST_F(GigeCamera, DiscoveryFindsItAndOpensItByItsId) {
    CameraProgram program;
    ASSERT_TRUE(CameraProgram::answers());
    setenv("VEXCAP_GIGE", "1", 1);
    EXPECT_EQ(list(), std::vector<std::u16string>{u"genicam:Aravis-Fake-GV01 = Aravis Fake (GV01)"});
    EXPECT_EQ(genicamProvider().Open(u"genicam:Aravis-Fake-GV02").code(), VEX_E_FILE_NOT_FOUND);
    NetworkStream stream(genicamProvider().Open(u"genicam:Aravis-Fake-GV01").value());
    ASSERT_NE(stream.camera, nullptr);
    ASSERT_EQ((*stream.controls)->PutRoi(0, 0, 64, 64), S_OK);
    ASSERT_EQ(stream.start(), S_OK);
    EXPECT_TRUE(stream.host.waitForRaw(5));
}

TEST_F(GigeCamera, AnAddressIsAskedAloneAndWithoutABroadcast) {
    CameraProgram program;
    ASSERT_TRUE(CameraProgram::answers());
    setenv("VEXCAP_GIGE", "127.0.0.9, 127.0.0.1", 1);
    const uint64_t before = broadcastsSent();
    EXPECT_EQ(list(), std::vector<std::u16string>{u"genicam:127.0.0.1 = Aravis Fake (GV01)"});
    EXPECT_EQ(genicamProvider().Open(u"genicam:127.0.0.9").code(), VEX_E_FILE_NOT_FOUND) << "nothing is there";
    {
        NetworkStream stream(openAddressed());
        ASSERT_NE(stream.camera, nullptr);
        EXPECT_EQ(list().size(), 1u) << "a camera in use is still listed";
    }
    NetworkStream again(openAddressed());
    ASSERT_NE(again.camera, nullptr) << "its control was given back";
    EXPECT_EQ(broadcastsSent(), before);
}

TEST_F(GigeCamera, EveryFormatStreams) {
    struct Row {
        const char* name;
        ArvPixelFormat left;
        int32_t depth;
    };
    const Row rows[] = {{"Mono8", ARV_PIXEL_FORMAT_MONO_8, 8},
                        {"Mono16", ARV_PIXEL_FORMAT_MONO_8, 16},
                        {"BayerRG8", ARV_PIXEL_FORMAT_BAYER_RG_8, 8}};
    constexpr uint32_t side = test::underSanitizer ? 128 : 512;
    CameraProgram program;
    ASSERT_TRUE(CameraProgram::answers());
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        leaveFormat(row.left);
        NetworkStream stream(openAddressed());
        ASSERT_NE(stream.camera, nullptr);
        ASSERT_EQ(stream.put(VEX_CONTROL_BIT_DEPTH, row.depth), S_OK);
        ASSERT_EQ((*stream.controls)->PutRoi(0, 0, side, side), S_OK);
        ASSERT_EQ(stream.put(VEX_CONTROL_FRAME_RATE, 100), S_OK);
        ASSERT_EQ(stream.start(), S_OK);
        ASSERT_TRUE(stream.host.waitForRaw(1));
        const auto start = Clock::now();
        ASSERT_TRUE(stream.host.waitForRaw(151, 60s));
        const double seconds = secondsSince(start);
        ASSERT_EQ(stream.camera->Stop(), S_OK);
        std::printf("%s %ux%u: %.1f frames a second, %u lost\n", row.name, side, side, 150 / seconds, stream.lost());
        EXPECT_EQ(stream.state(), uint32_t(VEX_CAMERA_STATE_OK));
        const KeptFrame kept = stream.host.lastRaw();
        EXPECT_EQ(kept.depth, uint32_t(row.depth));
        EXPECT_EQ(kept.info.width, side);
        EXPECT_EQ(kept.info.height, side);
        EXPECT_EQ(kept.info.sequence + 1, stream.host.rawCount() + stream.lost()) << "each loss is a gap";
        EXPECT_LT(stream.lost(), 75u) << "a third of the frames";
        EXPECT_EQ(kept.fourcc != 0, row.left == ARV_PIXEL_FORMAT_BAYER_RG_8);
        if (kept.fourcc != 0 || kept.depth != 8) continue;
        // The camera's picture is a ramp that rises to the right and downwards; rows lie bottom-up.
        for (size_t i = 0; i < size_t(side) * (side - 1); ++i) {
            ASSERT_EQ(kept.bytes[i + side], (kept.bytes[i] + 254) % 255) << i;
            if (i % side == side - 1) continue;
            ASSERT_EQ(kept.bytes[i + 1], (kept.bytes[i] + 1) % 255) << i;
        }
    }
}

TEST_F(GigeCamera, FramesAreFastAndInOrder) {
    CameraProgram program;
    ASSERT_TRUE(CameraProgram::answers());
    leaveFormat(ARV_PIXEL_FORMAT_MONO_8);
    NetworkStream stream(openAddressed());
    ASSERT_NE(stream.camera, nullptr);
    ASSERT_EQ(stream.put(VEX_CONTROL_BIT_DEPTH, 8), S_OK);
    ASSERT_EQ((*stream.controls)->PutRoi(0, 0, 320, test::underSanitizer ? 40 : 240), S_OK);
    ASSERT_EQ(stream.put(VEX_CONTROL_FRAME_RATE, 0), S_OK);
    ASSERT_EQ(stream.start(), S_OK);
    ASSERT_TRUE(stream.host.waitForRaw(1));
    const auto start = Clock::now();
    ASSERT_TRUE(stream.host.waitForRaw(501, 60s)) << "ids wrap after the first 136 frames";
    const double seconds = secondsSince(start);
    ASSERT_EQ(stream.camera->Stop(), S_OK);
    std::printf("Mono8 320 wide, unlimited: %.1f frames a second, %u lost\n", 500 / seconds, stream.lost());
    const auto sequences = stream.host.sequences();
    for (size_t i = 1; i < sequences.size(); ++i) ASSERT_GT(sequences[i], sequences[i - 1]);
    EXPECT_EQ(sequences.back() + 1, sequences.size() + stream.lost());
    EXPECT_LT(stream.lost(), 250u);
}

TEST_F(GigeCamera, ATriggerGivesOneFrameAndNoneComesBefore) {
    CameraProgram program;
    ASSERT_TRUE(CameraProgram::answers());
    NetworkStream stream(openAddressed());
    ASSERT_NE(stream.camera, nullptr);
    ASSERT_EQ((*stream.controls)->PutRoi(0, 0, 64, 64), S_OK);
    ASSERT_EQ(stream.put(VEX_CONTROL_EXPOSURE, 1000), S_OK);
    ASSERT_EQ(stream.put(VEX_CONTROL_TRIGGER_MODE, 1), S_OK);
    ASSERT_EQ(stream.start(), S_OK);
    std::this_thread::sleep_for(400ms);
    EXPECT_EQ(stream.host.rawCount(), 0u);
    size_t expected = 0;
    for (const int32_t count : {1, 1, 7}) {
        ASSERT_EQ(stream.put(VEX_CONTROL_FIRE, count), S_OK);
        expected += size_t(count);
        ASSERT_TRUE(stream.host.waitForRaw(expected));
        std::this_thread::sleep_for(200ms);
        EXPECT_EQ(stream.host.rawCount(), expected);
    }
    EXPECT_EQ(stream.lost(), 0u);
    EXPECT_EQ(stream.state(), uint32_t(VEX_CAMERA_STATE_OK)) << "a camera that waits is not missing";

    ASSERT_EQ(stream.put(VEX_CONTROL_TRIGGER_MODE, 0), S_OK) << "during the stream";
    EXPECT_TRUE(stream.host.waitForRaw(expected + 5));
    EXPECT_EQ(stream.put(VEX_CONTROL_FIRE, 1), E_UNEXPECTED);
}

TEST_F(GigeCamera, LostPacketsAreCountedAsLostFrames) {
    CameraProgram program("20");
    ASSERT_TRUE(CameraProgram::answers());
    NetworkStream stream(openAddressed());
    ASSERT_NE(stream.camera, nullptr);
    ASSERT_EQ(stream.put(VEX_CONTROL_BIT_DEPTH, 8), S_OK);
    ASSERT_EQ((*stream.controls)->PutRoi(0, 0, 128, 128), S_OK);
    ASSERT_EQ(stream.put(VEX_CONTROL_FRAME_RATE, 200), S_OK);
    ASSERT_EQ(stream.start(), S_OK);
    ASSERT_TRUE(stream.host.waitFor(60s, [&] { return stream.lost() >= 10 && stream.host.rawCount() >= 50; }));
    ASSERT_EQ(stream.camera->Stop(), S_OK);
    std::printf("2 %% of the packets lost: %zu frames, %u lost\n", stream.host.rawCount(), stream.lost());
    const auto sequences = stream.host.sequences();
    for (size_t i = 1; i < sequences.size(); ++i) ASSERT_GT(sequences[i], sequences[i - 1]);
    EXPECT_LE(sequences.back() + 1, sequences.size() + stream.lost());
    EXPECT_GT(sequences.back() + 1, sequences.size()) << "the losses are gaps";
}

TEST_F(GigeCamera, ACameraInUseIsRefusedAndItsUserLosesNothing) {
    CameraProgram program;
    ASSERT_TRUE(CameraProgram::answers());
    NetworkStream stream(openAddressed());
    ASSERT_NE(stream.camera, nullptr);
    ASSERT_EQ((*stream.controls)->PutRoi(0, 0, 64, 64), S_OK);
    ASSERT_EQ(stream.start(), S_OK);
    ASSERT_TRUE(stream.host.waitForRaw(5));
    EXPECT_EQ(tryAddressed().code(), VEX_E_BUSY);
    const size_t frames = stream.host.rawCount();
    EXPECT_TRUE(stream.host.waitForRaw(frames + 5));
    EXPECT_EQ(stream.put(VEX_CONTROL_EXPOSURE, 5000), S_OK) << "still its controller";
    EXPECT_EQ(stream.host.lossCount(), 0u);
    EXPECT_LT(stream.lost(), frames / 4);
}

TEST_F(GigeCamera, ACameraThatDiesIsToldWithinSecondsAndEveryCallReturns) {
    CameraProgram program;
    ASSERT_TRUE(CameraProgram::answers());
    NetworkStream stream(openAddressed());
    ASSERT_NE(stream.camera, nullptr);
    ASSERT_EQ((*stream.controls)->PutRoi(0, 0, 64, 64), S_OK);
    ASSERT_EQ(stream.start(), S_OK);
    ASSERT_TRUE(stream.host.waitForRaw(5));
    program.kill();
    const auto start = Clock::now();
    ASSERT_TRUE(stream.host.waitFor(8s, [&] { return stream.host.lossCount() == 1; }));
    std::printf("loss of the camera told after %.1f s\n", secondsSince(start));
    EXPECT_EQ(stream.state(), uint32_t(VEX_CAMERA_STATE_REMOVED));
    ASSERT_TRUE(stream.host.waitFor(1s, [&] { return stream.host.story().ends_with("LE"); }));
    EXPECT_EQ(stream.host.events().back(), uint32_t(VEX_CAMERA_EVENT_STATE));
    const auto afterwards = Clock::now();
    int32_t value = 0;
    EXPECT_EQ((*stream.controls)->Get(VEX_CONTROL_EXPOSURE, &value), E_FAIL);
    EXPECT_EQ(stream.put(VEX_CONTROL_EXPOSURE, 5000), E_FAIL);
    EXPECT_EQ((*stream.controls)->PutRoi(0, 0, 32, 32), E_FAIL);
    EXPECT_EQ(stream.camera->Pause(1), E_FAIL);
    EXPECT_EQ(stream.camera->Stop(), S_OK);
    EXPECT_EQ(stream.host.start(stream.camera), E_FAIL);
    // Ending stream and control each writes to the camera, which does not answer any more.
    EXPECT_LT(secondsSince(afterwards), 6.0);
    stream.close();
    EXPECT_LT(secondsSince(afterwards), 12.0);
    EXPECT_EQ(stream.host.lossCount(), 1u);
}

TEST_F(GigeCamera, StoppingBeforeTheLossIsNoticedReturnsToo) {
    CameraProgram program;
    ASSERT_TRUE(CameraProgram::answers());
    NetworkStream stream(openAddressed());
    ASSERT_NE(stream.camera, nullptr);
    ASSERT_EQ((*stream.controls)->PutRoi(0, 0, 64, 64), S_OK);
    ASSERT_EQ(stream.start(), S_OK);
    ASSERT_TRUE(stream.host.waitForRaw(5));
    program.kill();
    const auto start = Clock::now();
    EXPECT_EQ(stream.camera->Stop(), S_OK);
    EXPECT_EQ(stream.host.lossCount(), 0u) << "the host ended the stream itself";
    stream.close();
    std::printf("stop and close of a dead camera: %.1f s\n", secondsSince(start));
    EXPECT_LT(secondsSince(start), 30.0) << "each write waits, and the control channel's own reads between them";
}

/// Puts this process into a network of its own, with a loopback alone.
bool enterOwnNetwork() {
    const uid_t user = getuid();
    const gid_t group = getgid();
    if (unshare(CLONE_NEWNET) != 0) {
        if (unshare(CLONE_NEWUSER | CLONE_NEWNET) != 0) return false;
        std::ofstream("/proc/self/setgroups") << "deny";
        std::ofstream("/proc/self/uid_map") << user << ' ' << user << " 1";
        std::ofstream("/proc/self/gid_map") << group << ' ' << group << " 1";
    }
    const int handle = socket(AF_INET, SOCK_DGRAM, 0);
    if (handle < 0) return false;
    ifreq request{};
    std::strcpy(request.ifr_name, "lo");
    bool up = ioctl(handle, SIOCGIFFLAGS, &request) == 0;
    request.ifr_flags = short(request.ifr_flags | IFF_UP | IFF_RUNNING);
    up = up && ioctl(handle, SIOCSIFFLAGS, &request) == 0;
    close(handle);
    return up;
}

bool cameraProgramIsThere() {
    std::istringstream path(std::getenv("PATH") ? std::getenv("PATH") : "");
    for (std::string directory; std::getline(path, directory, ':');)
        if (access((directory + '/' + cameraProgram).c_str(), X_OK) == 0) return true;
    return false;
}

}  // namespace genicam_gige_test
}  // namespace vexcap::cameras

int main(int argc, char** argv) {
    using namespace vexcap::cameras::genicam_gige_test;
    testing::InitGoogleTest(&argc, argv);
    if (!cameraProgramIsThere()) {
        std::printf("skipped: the program %s is not installed\n", cameraProgram);
        return skipped;
    }
    if (!enterOwnNetwork()) {
        std::printf("skipped: this system gives no network of its own\n");
        return skipped;
    }
    return RUN_ALL_TESTS();
}
