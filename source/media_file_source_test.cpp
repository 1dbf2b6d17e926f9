#include "source/media_file_source.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <thread>

#include "graph/filter_graph.h"
#include "graph/renderer.h"
#include "source/source_testing.h"

namespace vexcap {
namespace media_file_source_test {

using test::EventLog;
using test::GraphEvent;
using test::SampleSink;

constexpr uint32_t width = 6, height = 4;
constexpr size_t frameBytes = 20 * height;
constexpr int64_t interval = 100'000;  // of a picture

/// A file whose picture n is filled with n and is shown from n * interval on.
struct ScriptedFile {
    MediaFileInfo info = {width, height, interval, 100 * interval, true};
    std::atomic<int64_t> next{0};
    std::atomic<int64_t> failing{-1};  ///< Picture that cannot be read.
    HRESULT seekResult = S_OK;
    std::vector<int64_t> seeks;
};

class ScriptedReader final : public IMediaReader {
public:
    explicit ScriptedReader(ScriptedFile& opened) : file(opened) {}
    const MediaFileInfo& Info() const override { return file.info; }
    Status Read(std::span<std::byte> picture, MediaTimes& times) override {
        EXPECT_EQ(picture.size(), frameBytes);
        if (file.next == file.failing) return E_ACCESSDENIED;
        if (file.next * interval >= file.info.duration) return S_FALSE;
        std::fill(picture.begin(), picture.end(), std::byte(file.next.load()));
        times = {file.next * interval, (file.next + 1) * interval};
        ++file.next;
        return S_OK;
    }
    Status Seek(int64_t position) override {
        if (file.seekResult < 0) return file.seekResult;
        file.seeks.push_back(position);
        file.next = position / interval;
        return S_OK;
    }

private:
    ScriptedFile& file;
};

/// Keeps what it showed, and what it showed first of a pause.
class Shown final : public CBaseRenderer {
public:
    Shown() : CBaseRenderer(u"In") {}
    uint8_t cued() {
        const MutexGuard held(lock);
        return first;
    }
    void waitForShown(uint8_t picture) {
        const MutexGuard held(lock);
        while (!shown[picture]) changed.wait(lock);
    }

private:
    ~Shown() override = default;
    HRESULT CheckMediaType(const MediaType*) override { return S_OK; }
    HRESULT DoRenderSample(CMediaSample& sample) override {
        const MutexGuard held(lock);
        shown[sample.GetPointer()[0]] = true;
        changed.notifyAll();
        return S_OK;
    }
    bool OnReceiveFirstSample(CMediaSample& sample) override {
        const MutexGuard held(lock);
        first = sample.GetPointer()[0];
        return false;
    }
    Mutex lock;
    Condition changed;
    uint8_t first VEX_GUARDED_BY(lock) = 0xFF;
    std::array<bool, 256> shown VEX_GUARDED_BY(lock) = {};
};

class MediaFileSource : public testing::Test {
protected:
    MediaFileSource() { EXPECT_EQ(filter->JoinFilterGraph(&ear, u"file"), S_OK); }
    ~MediaFileSource() override {
        stop();
        test::disconnect(pin);
        filter->JoinFilterGraph(nullptr, {});
    }
    void connect() { ASSERT_EQ(pin.Connect(sink->Input()), S_OK); }
    void start() {
        ASSERT_GE(sink->Pause(), 0);
        ASSERT_GE(filter->Pause(), 0);
    }
    void stop() {
        sink->Stop();
        EXPECT_EQ(filter->Stop(), S_OK);
    }

    ScriptedFile file;
    EventLog ear;
    Ref<CMediaFileSource> filter = makeRef<CMediaFileSource>(std::make_unique<ScriptedReader>(file));
    Ref<SampleSink> sink = makeRef<SampleSink>();
    CBaseOutputPin& pin = test::outputOf(*filter);
    Ref<IMediaSeeking> seeking = test::as<IMediaSeeking>(pin);
};

TEST_F(MediaFileSource, TheTypeIsThatOfTheFile) {
    MediaType type;
    ASSERT_EQ(pin.GetMediaType(0, &type), S_OK);
    EXPECT_TRUE(type == rgb24Type(int32_t(width), int32_t(height), interval));
    EXPECT_EQ(pin.CheckMediaType(&type), S_OK);
    EXPECT_EQ(pin.GetMediaType(1, &type), VFW_S_NO_MORE_ITEMS);
    EXPECT_EQ(pin.GetMediaType(-1, &type), E_INVALIDARG);
    EXPECT_EQ(pin.GetMediaType(0, nullptr), E_POINTER);
    EXPECT_EQ(pin.CheckMediaType(nullptr), E_POINTER);
    const MediaType other = rgb24Type(8, 4, interval);
    EXPECT_EQ(pin.CheckMediaType(&other), VFW_E_TYPE_NOT_ACCEPTED);
}

TEST_F(MediaFileSource, EveryPictureComesWithItsTimesAndThenTheEnd) {
    file.info.duration = 5 * interval;
    connect();
    start();
    sink->waitForEnd();
    const auto arrived = sink->arrived();
    ASSERT_EQ(arrived.size(), 5u);
    for (size_t i = 0; i < 5; ++i) {
        EXPECT_EQ(arrived[i].bytes, std::vector<uint8_t>(frameBytes, uint8_t(i)));
        EXPECT_EQ(arrived[i].start, int64_t(i) * interval);
        EXPECT_EQ(arrived[i].stop, int64_t(i + 1) * interval);
        EXPECT_TRUE(arrived[i].syncPoint);
    }
    EXPECT_EQ(sink->segments(), std::vector<int64_t>{0});
    EXPECT_TRUE(ear.all().empty());
}

TEST_F(MediaFileSource, AReadFailureEndsTheStreamWithItsCode) {
    file.failing = 3;
    connect();
    start();
    ASSERT_TRUE(ear.waitFor(1));
    EXPECT_EQ(sink->count(), 3u);
    EXPECT_EQ(ear.all(), (std::vector<GraphEvent>{{EC_ERRORABORT, E_ACCESSDENIED, 0}}));
}

TEST_F(MediaFileSource, CapabilitiesAreThoseOfTheFile) {
    uint32_t capabilities = 0;
    int64_t duration = 0, position = -1;
    EXPECT_EQ(seeking->GetCapabilities(&capabilities), S_OK);
    EXPECT_EQ(capabilities, 1u | 2u | 4u | 8u | 0x20u);
    EXPECT_EQ(seeking->GetDuration(&duration), S_OK);
    EXPECT_EQ(duration, 100 * interval);
    EXPECT_EQ(seeking->GetCurrentPosition(&position), S_OK);
    EXPECT_EQ(position, 0);
    EXPECT_EQ(seeking->GetCapabilities(nullptr), E_POINTER);
    EXPECT_EQ(seeking->GetDuration(nullptr), E_POINTER);
    EXPECT_EQ(seeking->GetCurrentPosition(nullptr), E_POINTER);
    file.info.seekable = false;
    EXPECT_EQ(seeking->GetCapabilities(&capabilities), S_OK);
    EXPECT_EQ(capabilities, 8u | 0x20u);
    EXPECT_EQ(seeking->SetPosition(0), E_NOTIMPL);
    file.info.duration = 0;
    EXPECT_EQ(seeking->GetCapabilities(&capabilities), S_OK);
    EXPECT_EQ(capabilities, 8u);
}

TEST_F(MediaFileSource, ASeekWhileStoppedIsWhereTheStreamBegins) {
    connect();
    EXPECT_EQ(seeking->SetPosition(-1), E_INVALIDARG);
    EXPECT_EQ(seeking->SetPosition(95 * interval), S_OK);
    start();
    sink->waitForEnd();
    const auto arrived = sink->arrived();
    ASSERT_EQ(arrived.size(), 5u);
    EXPECT_EQ(arrived[0].bytes[0], 95);
    EXPECT_EQ(arrived[0].start, 0);
    EXPECT_EQ(arrived[4].stop, 5 * interval);
    EXPECT_EQ(sink->segments(), std::vector<int64_t>{95 * interval});
}

TEST_F(MediaFileSource, APictureThatBeganBeforeThePlaceIsShownThere) {
    connect();
    ASSERT_EQ(seeking->SetPosition(95 * interval + interval / 4), S_OK);
    start();
    sink->waitFor(2);
    EXPECT_EQ(sink->arrived()[0].start, 0);
    EXPECT_EQ(sink->arrived()[0].stop, interval * 3 / 4);
    EXPECT_EQ(sink->arrived()[1].start, interval * 3 / 4);
}

TEST_F(MediaFileSource, ASeekFreesAStreamThatIsStuckDownstream) {
    connect();
    sink->block(true);
    start();
    sink->waitFor(1);
    ASSERT_EQ(seeking->SetPosition(50 * interval), S_OK);
    sink->waitFor(2);
    EXPECT_EQ(sink->arrived()[1].bytes[0], 50);
    EXPECT_EQ(sink->segments(), (std::vector<int64_t>{0, 50 * interval}));
    int64_t position = 0;
    EXPECT_EQ(seeking->GetCurrentPosition(&position), S_OK);
    EXPECT_EQ(position, 50 * interval);
}

TEST_F(MediaFileSource, ASeekBehindTheEndAndOneBackFromItWork) {
    connect();
    start();
    sink->waitForEnd();
    const size_t all = sink->count();
    EXPECT_EQ(all, 100u);
    ASSERT_EQ(seeking->SetPosition(98 * interval), S_OK);
    sink->waitFor(all + 2);
    ASSERT_EQ(seeking->SetPosition(1000 * interval), S_OK);
    ASSERT_EQ(seeking->SetPosition(99 * interval), S_OK);
    sink->waitFor(all + 3);
    EXPECT_EQ(sink->arrived().back().bytes[0], 99);
}

TEST_F(MediaFileSource, ASeekThatFailsTellsTheFilesCode) {
    connect();
    file.seekResult = E_ACCESSDENIED;
    EXPECT_EQ(seeking->SetPosition(interval), E_ACCESSDENIED);
    sink->block(true);
    start();
    sink->waitFor(1);
    EXPECT_EQ(seeking->SetPosition(interval), E_ACCESSDENIED);
    sink->waitFor(2);  // the stream goes on
}

TEST_F(MediaFileSource, AfterAStopItGoesOnWithThePictureHandedOnLast) {
    connect();
    sink->block(true);
    ASSERT_EQ(seeking->SetPosition(7 * interval), S_OK);
    start();
    sink->waitFor(1);
    stop();
    const size_t before = sink->count();
    sink->block(true);
    start();
    sink->waitFor(before + 1);
    EXPECT_EQ(sink->arrived()[before].bytes[0], sink->arrived()[before - 1].bytes[0]);
    EXPECT_EQ(sink->arrived()[before].start, 0);
}

TEST_F(MediaFileSource, AFileThatCannotSeekGoesOnWithTimesFromZero) {
    file.info.seekable = false;
    connect();
    sink->block(true);
    start();
    sink->waitFor(1);
    stop();
    const size_t before = sink->count();
    sink->block(true);
    start();
    sink->waitFor(before + 1);
    EXPECT_LE(sink->arrived()[before].start, 4 * interval);
    EXPECT_EQ(sink->segments().size(), 2u);
    EXPECT_TRUE(file.seeks.empty());
}

TEST_F(MediaFileSource, SeeksStopsAndStartsMayMeet) {
    connect();
    sink->countOnly();
    std::atomic<bool> done{false};
    std::thread other([&] {
        for (int64_t i = 0; !done; ++i) {
            EXPECT_EQ(seeking->SetPosition(i % 100 * interval), S_OK);
            int64_t position = 0;
            EXPECT_EQ(seeking->GetCurrentPosition(&position), S_OK);
            std::this_thread::yield();
        }
    });
    for (int i = 0; i < 50; ++i) {
        start();
        sink->waitFor(sink->count() + 1);
        stop();
    }
    done = true;
    other.join();
}

TEST_F(MediaFileSource, APictureTakesNothingFromTheHeap) {
    connect();
    sink->countOnly();
    start();
    sink->waitFor(1);
    const size_t before = sink->allocationsThere();
    sink->waitForEnd();
    EXPECT_EQ(sink->count(), 100u);
    EXPECT_EQ(sink->allocationsThere(), before);
}

// --- with a graph and a renderer

struct Components final : IGraphComponents {
    explicit Components(ScriptedFile& opened) : file(opened) {}
    Result<Ref<CBaseFilter>> OpenFile(std::u16string_view) override {
        return Ref<CBaseFilter>(makeRef<CMediaFileSource>(std::make_unique<ScriptedReader>(file)));
    }
    Ref<CBaseFilter> Converter(const MediaType&) override { return nullptr; }
    Result<Output> OpenOutput(const vex_guid&) override { return E_NOTIMPL; }
    ScriptedFile& file;
};

class PlayedFile : public testing::Test {
protected:
    PlayedFile() {
        EXPECT_EQ(graph.AddFilter(Ref<CBaseFilter>(renderer), u"Renderer"), S_OK);
        EXPECT_EQ(graph.RenderFile(u"a.avi"), S_OK);
    }
    void pauseAndWait() {
        FilterState state = State_Stopped;
        ASSERT_GE(graph.Pause(), 0);
        ASSERT_EQ(graph.GetState(60'000, &state), S_OK);
    }

    ScriptedFile file;
    Components components{file};
    CFilterGraph graph{components};
    Ref<Shown> renderer = makeRef<Shown>();
};

TEST_F(PlayedFile, APauseShowsThePictureAtThePosition) {
    pauseAndWait();
    EXPECT_EQ(renderer->cued(), 0);
    ASSERT_EQ(graph.SetPosition(42 * interval), S_OK);
    FilterState state = State_Stopped;
    ASSERT_EQ(graph.GetState(60'000, &state), S_OK);
    EXPECT_EQ(renderer->cued(), 42);
    int64_t position = 0;
    EXPECT_EQ(graph.GetCurrentPosition(&position), S_OK);
    EXPECT_EQ(position, 42 * interval);
}

TEST_F(PlayedFile, AStoppedGraphShowsANewPlaceWhenItIsAskedTo) {
    ASSERT_EQ(graph.SetPosition(17 * interval), S_OK);
    ASSERT_EQ(graph.StopWhenReady(), S_OK);
    EXPECT_EQ(renderer->cued(), 17);
    pauseAndWait();
    EXPECT_EQ(renderer->cued(), 17);  // it is still there
}

TEST_F(PlayedFile, ARunPlaysToTheEndAndTellsIt) {
    ASSERT_EQ(graph.SetPosition(95 * interval), S_OK);
    ASSERT_GE(graph.Run(), 0);
    uint32_t event = 0;
    intptr_t first = 0, second = 0;
    ASSERT_EQ(graph.GetEvent(&event, &first, &second, 60'000), S_OK);
    EXPECT_EQ(event, uint32_t(EC_COMPLETE));
    renderer->waitForShown(99);
}

TEST_F(PlayedFile, ASeekWhileItRunsPlaysOnFromThere) {
    ASSERT_GE(graph.Run(), 0);
    renderer->waitForShown(1);
    ASSERT_EQ(graph.SetPosition(60 * interval), S_OK);
    renderer->waitForShown(61);
}

TEST_F(PlayedFile, AFileThatBreaksTellsSo) {
    file.failing = 2;
    ASSERT_GE(graph.Run(), 0);
    uint32_t event = 0;
    intptr_t first = 0, second = 0;
    ASSERT_EQ(graph.GetEvent(&event, &first, &second, 60'000), S_OK);
    EXPECT_EQ(event, uint32_t(EC_ERRORABORT));
    EXPECT_EQ(HRESULT(first), E_ACCESSDENIED);
}

}  // namespace media_file_source_test
}  // namespace vexcap
