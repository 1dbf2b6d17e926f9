// A stream of a camera whose every callback is watched.
#pragma once

#include <vexcap/camera_library.h>

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

#include "tests/support/sanitizer.h"

namespace vexcap::contract {

/// Milliseconds to wait for what must come. A large sensor takes its time, most of all under a sanitizer.
constexpr int patience = test::underSanitizer ? 60000 : 15000;

constexpr uint64_t displayStride(uint64_t width) { return (width * 24 + 31) / 32 * 4; }
constexpr uint64_t deepStride(uint64_t width) { return (width * 48 + 31) / 32 * 4; }

/// Room for a picture with a guard on either side.
class GuardedBuffer final {
public:
    explicit GuardedBuffer(size_t size);
    uint8_t* data() { return bytes.data() + guard; }
    size_t size() const { return bytes.size() - 2 * guard; }
    /// Fills the room with the mark that tells unwritten bytes.
    void mark();
    /// True when no byte before the room and none from `used` on was written since mark().
    bool untouchedBeyond(size_t used) const;
    /// True when each row has a byte that is not the mark any more.
    bool eachRowWritten(size_t rowBytes, size_t stride, size_t rows) const;

private:
    static constexpr size_t guard = 4096;
    std::vector<uint8_t> bytes;
};

/// What to answer, and how slowly. Set before start().
struct Answers {
    bool display = true;    ///< Gives room for the display picture.
    bool raw = false;       ///< Gives room for the raw picture when it is asked for.
    bool deep = false;      ///< Gives room for the deep picture when it is asked for.
    bool callbacks = true;  ///< Registers buffer and event callbacks.
    int milliseconds = 0;   ///< Time that each frame callback takes.
};

class Stream final {
public:
    /// One display frame as its callback told it.
    struct Frame {
        vex_frame_info info{};
        uint32_t still = 0, depthFlag = 0, tag = 0;
        bool inOurRoom = false, rawInOurRoom = false, deepInOurRoom = false;
        bool rawGiven = false, deepGiven = false;
        bool rawSeenBefore = false;       ///< The raw frame of the same number came before it.
        bool roomKept = true;             ///< Nothing was written outside of the picture; frames that were examined.
        bool eachRowWritten = true;       ///< Frames that were examined.
        std::vector<double> displayRows;  ///< Mean of each pair of rows in memory order, frames that were examined.
        std::vector<double> rawRows;      ///< The same of the raw frame of the same number.
        bool rawMatches = true;           ///< The raw picture in our room is the raw frame of the same number.
    };
    struct Raw {
        vex_frame_info info{};
        uint32_t fourcc = 0, depth = 0;
        bool memory = false;   ///< There was a pointer.
        uint32_t largest = 0;  ///< Largest sample, frames that were examined.
        const void* context = nullptr;
    };

    explicit Stream(ICamera* camera, Answers answers = {});
    ~Stream();
    Stream(const Stream&) = delete;
    Stream& operator=(const Stream&) = delete;

    HRESULT start();
    HRESULT stop() { return camera->Stop(); }
    /// Registers the raw callback of this stream.
    HRESULT watchRaw();
    /// The camera is gone: the destructor must not stop it.
    void abandon() { camera = nullptr; }

    bool waitForFrames(size_t count, int milliseconds = patience);
    bool waitForRaws(size_t count, int milliseconds = patience);
    bool waitFor(const std::function<bool()>& done, int milliseconds = patience);

    std::vector<Frame> frames() const;
    std::vector<Raw> raws() const;
    std::vector<uint32_t> events() const;
    /// All callbacks so far, of every kind.
    size_t calls() const { return entered.load(); }
    bool running() const { return inside.load() > 0; }
    bool overlapped() const { return overlap.load(); }
    bool onOurThread() const { return foreign.load(); }
    /// The order of things: 'r' raw frame, 'f' frame, 'n' null frame, 'e' event.
    std::string order() const;
    /// Called for each null frame, on its thread.
    std::function<void()> onLost;
    /// Called for each event, on its thread.
    std::function<void(uint32_t)> onEvent;

private:
    class Entry;
    static void onFrame(const void* frame, const vex_frame_info* info, uint32_t still, const void* raw,
                        const void* deep, uint32_t depthFlag, uint32_t tag, uint64_t frameTag, void* context);
    static void onBuffer(uint32_t still, void** display, void** raw, void** deep, void* context);
    static void onEventCall(uint32_t event, void* context);
    static void onRaw(const void* raw, const vex_frame_info* info, uint32_t fourcc, uint32_t depth, void* context);
    void examine(Frame& frame, const void* display, const void* raw);

    ICamera* camera;
    const Answers answers;
    const std::thread::id host = std::this_thread::get_id();
    GuardedBuffer display, rawRoom, deepRoom;
    std::atomic<size_t> entered{0};
    std::atomic<int> inside{0};
    std::atomic<bool> overlap{false}, foreign{false};
    mutable std::mutex lock;
    std::condition_variable changed;
    std::vector<Frame> allFrames;
    std::vector<Raw> allRaws;
    std::vector<uint32_t> allEvents;
    std::string allOrder;
    std::vector<uint8_t> lastRaw;  // copy of the newest raw frame, while frames are examined
    vex_frame_info lastRawInfo{};
    uint32_t lastRawDepth = 0;
    bool watching = false;
};

}  // namespace vexcap::contract
