#include "tests/camera_contract/stream.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <string>

#include "tests/camera_contract/subject.h"

namespace vexcap::contract {

namespace {

constexpr uint8_t markByte = 0xA5;
constexpr size_t examinedFrames = 6;

/// Pixels of the largest frame that a camera tells, and the room that its widest form takes at `bits` a pixel.
size_t largestRoom(ICamera* camera, uint64_t bits) {
    uint64_t room = 0;
    const auto add = [&](int32_t width, int32_t height) {
        if (width < 1 || height < 1) return;
        for (const auto& [w, h] : {std::pair(width, height), std::pair(height, width)})
            room = std::max(room, (uint64_t(w) * bits + 31) / 32 * 4 * uint64_t(h));
    };
    int32_t width = 0, height = 0;
    if (camera->GetSize(&width, &height) >= 0) add(width, height);
    for (int32_t i = 0; i < camera->GetResolutionCount(); ++i)
        if (camera->GetResolution(uint32_t(i), &width, &height) >= 0) add(width, height);
    const Held<ICameraStill> still(camera, VEX_IID_CAMERA_STILL);
    for (int32_t i = 0; still && i < still->GetStillCount(); ++i)
        if (still->GetStillResolution(uint32_t(i), &width, &height) >= 0) add(width, height);
    return size_t(room);
}

/// Mean of each pair of rows, `rowBytes` of each used.
std::vector<double> pairMeans(const uint8_t* rows, size_t rowBytes, size_t stride, size_t count, bool wideSamples) {
    std::vector<double> means;
    for (size_t y = 0; y + 2 <= count; y += 2) {
        double sum = 0;
        for (size_t row = y; row < y + 2; ++row)
            for (size_t i = 0; i < rowBytes; i += wideSamples ? 2 : 1)
                sum +=
                    wideSamples ? rows[row * stride + i] + 256.0 * rows[row * stride + i + 1] : rows[row * stride + i];
        means.push_back(sum / double(2 * rowBytes));
    }
    return means;
}

}  // namespace

GuardedBuffer::GuardedBuffer(size_t size) : bytes(size + 2 * guard, markByte) {}

void GuardedBuffer::mark() { std::fill(bytes.begin(), bytes.end(), markByte); }

bool GuardedBuffer::untouchedBeyond(size_t used) const {
    const auto isMark = [](uint8_t byte) { return byte == markByte; };
    return std::all_of(bytes.begin(), bytes.begin() + guard, isMark) &&
           std::all_of(bytes.begin() + std::ptrdiff_t(guard + std::min(used, size())), bytes.end(), isMark);
}

bool GuardedBuffer::eachRowWritten(size_t rowBytes, size_t stride, size_t rows) const {
    for (size_t y = 0; y < rows; ++y) {
        const uint8_t* const row = bytes.data() + guard + y * stride;
        if (std::all_of(row, row + rowBytes, [](uint8_t byte) { return byte == markByte; })) return false;
    }
    return true;
}

/// Counts a callback in and out, and sees whether another one runs.
class Stream::Entry final {
public:
    Entry(Stream& owner, bool exclusive) : stream(owner), alone(exclusive) {
        ++stream.entered;
        if (alone && stream.inside.fetch_add(1) > 0) stream.overlap = true;
        if (std::this_thread::get_id() == stream.host) stream.foreign = true;
    }
    ~Entry() {
        if (alone) --stream.inside;
        stream.changed.notify_all();
    }

private:
    Stream& stream;
    const bool alone;
};

Stream::Stream(ICamera* source, Answers how)
    : camera(source),
      answers(how),
      display(largestRoom(source, 24)),
      rawRoom(how.raw ? largestRoom(source, 16) : 0),
      deepRoom(how.deep ? largestRoom(source, 48) : 0) {}

Stream::~Stream() {
    if (camera == nullptr) return;
    camera->Stop();
    if (watching) Held<ICameraRaw>(camera, VEX_IID_CAMERA_RAW)->SetRawCallback(nullptr, nullptr);
}

HRESULT Stream::start() {
    return camera->StartPull(0, 0, onFrame, answers.callbacks ? onBuffer : nullptr, this,
                             answers.callbacks ? onEventCall : nullptr, this, 0, 0, nullptr, 1);
}

HRESULT Stream::watchRaw() {
    const Held<ICameraRaw> raw(camera, VEX_IID_CAMERA_RAW);
    if (!raw) return E_NOINTERFACE;
    watching = true;
    return raw->SetRawCallback(onRaw, this);
}

bool Stream::waitFor(const std::function<bool()>& done, int milliseconds) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
    while (!done()) {
        if (std::chrono::steady_clock::now() >= end) return false;
        std::unique_lock hold(lock);
        changed.wait_for(hold, std::chrono::milliseconds(2));
    }
    return true;
}

bool Stream::waitForFrames(size_t count, int milliseconds) {
    return waitFor([&] { return std::lock_guard(lock), allFrames.size() >= count; }, milliseconds);
}

bool Stream::waitForRaws(size_t count, int milliseconds) {
    return waitFor([&] { return std::lock_guard(lock), allRaws.size() >= count; }, milliseconds);
}

std::vector<Stream::Frame> Stream::frames() const { return std::lock_guard(lock), allFrames; }
std::vector<Stream::Raw> Stream::raws() const { return std::lock_guard(lock), allRaws; }
std::vector<uint32_t> Stream::events() const { return std::lock_guard(lock), allEvents; }
std::string Stream::order() const { return std::lock_guard(lock), allOrder; }

void Stream::onBuffer(uint32_t, void** display, void** raw, void** deep, void* context) {
    Stream& self = *static_cast<Stream*>(context);
    const Entry entry(self, true);
    if (display != nullptr) *display = self.answers.display ? self.display.data() : nullptr;
    if (raw != nullptr) *raw = self.answers.raw ? self.rawRoom.data() : nullptr;
    if (deep != nullptr) *deep = self.answers.deep ? self.deepRoom.data() : nullptr;
    const std::lock_guard hold(self.lock);
    if (self.allFrames.size() < examinedFrames) self.display.mark();
}

void Stream::examine(Frame& frame, const void* picture, const void* raw) {
    const uint64_t width = frame.info.width, height = frame.info.height, stride = displayStride(width);
    if (frame.inOurRoom && stride * height <= display.size()) {
        frame.roomKept = display.untouchedBeyond(size_t(stride * height));
        frame.eachRowWritten = display.eachRowWritten(size_t(width * 3), size_t(stride), size_t(height));
    }
    const uint64_t sampleBytes = lastRawDepth > 8 ? 2 : 1;
    const bool sameFrame = frame.rawSeenBefore && lastRawInfo.sequence == frame.info.sequence &&
                           lastRawInfo.width == width && lastRawInfo.height == height;
    if (!sameFrame || frame.still != 0) return;
    frame.displayRows =
        pairMeans(static_cast<const uint8_t*>(picture), size_t(width * 3), size_t(stride), size_t(height), false);
    frame.rawRows = pairMeans(lastRaw.data(), size_t(width * sampleBytes), size_t(width * sampleBytes), size_t(height),
                              sampleBytes == 2);
    if (frame.rawInOurRoom) frame.rawMatches = std::memcmp(raw, lastRaw.data(), lastRaw.size()) == 0;
}

void Stream::onFrame(const void* picture, const vex_frame_info* info, uint32_t still, const void* raw, const void* deep,
                     uint32_t depthFlag, uint32_t tag, uint64_t, void* context) {
    Stream& self = *static_cast<Stream*>(context);
    const Entry entry(self, true);
    if (picture == nullptr || info == nullptr) {
        {
            const std::lock_guard hold(self.lock);
            self.allOrder += 'n';
        }
        if (self.onLost) self.onLost();
        return;
    }
    Frame frame;
    frame.info = *info;
    frame.still = still;
    frame.depthFlag = depthFlag;
    frame.tag = tag;
    frame.inOurRoom = picture == self.display.data();
    frame.rawGiven = raw != nullptr;
    frame.deepGiven = deep != nullptr;
    frame.rawInOurRoom = raw != nullptr && raw == self.rawRoom.data();
    frame.deepInOurRoom = deep != nullptr && deep == self.deepRoom.data();
    {
        const std::lock_guard hold(self.lock);
        frame.rawSeenBefore = std::any_of(self.allRaws.rbegin(), self.allRaws.rend(),
                                          [&](const Raw& one) { return one.info.sequence == info->sequence; });
        if (self.allFrames.size() < examinedFrames) self.examine(frame, picture, raw);
        self.allFrames.push_back(std::move(frame));
        self.allOrder += 'f';
    }
    self.changed.notify_all();
    if (self.answers.milliseconds > 0)
        std::this_thread::sleep_for(std::chrono::milliseconds(self.answers.milliseconds));
}

void Stream::onEventCall(uint32_t event, void* context) {
    Stream& self = *static_cast<Stream*>(context);
    // Events may come beside frames.
    const Entry entry(self, false);
    {
        const std::lock_guard hold(self.lock);
        self.allEvents.push_back(event);
        self.allOrder += 'e';
    }
    if (self.onEvent) self.onEvent(event);
}

void Stream::onRaw(const void* memory, const vex_frame_info* info, uint32_t fourcc, uint32_t depth, void* context) {
    Stream& self = *static_cast<Stream*>(context);
    const Entry entry(self, true);
    Raw raw;
    raw.memory = memory != nullptr && info != nullptr;
    raw.fourcc = fourcc;
    raw.depth = depth;
    raw.context = context;
    const std::lock_guard hold(self.lock);
    if (raw.memory) {
        raw.info = *info;
        if (self.allFrames.size() < examinedFrames && self.allRaws.size() < 1000) {
            const size_t samples = size_t(info->width) * info->height;
            const auto* const from = static_cast<const uint8_t*>(memory);
            self.lastRaw.assign(from, from + samples * (depth > 8 ? 2 : 1));
            self.lastRawInfo = *info;
            self.lastRawDepth = depth;
            for (size_t i = 0; i < samples; ++i)
                raw.largest =
                    std::max(raw.largest, depth > 8 ? uint32_t(from[2 * i] | from[2 * i + 1] << 8) : uint32_t(from[i]));
        }
    }
    self.allRaws.push_back(raw);
    self.allOrder += 'r';
}

}  // namespace vexcap::contract
