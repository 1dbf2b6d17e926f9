// A graph under random calls while its source runs: every call returns, and every sample comes back.
#include <gtest/gtest.h>

#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <random>
#include <thread>

#include "graph/builder/capture_graph_builder.h"
#include "graph/smart_tee.h"
#include "graph/testing/graphs.h"
#include "graph/testing/numbered_source.h"

namespace vexcap::test {
namespace graph_stress_test {

/// Ends the program with a word about the seed when a step takes longer than a minute.
class Watchdog final {
public:
    explicit Watchdog(uint32_t seedOfRun) : seed(seedOfRun), thread([this] { Watch(); }) {}
    ~Watchdog() {
        {
            const std::lock_guard guard(lock);
            over = true;
            changed.notify_all();
        }
        thread.join();
    }
    void step(const char* what) {
        const std::lock_guard guard(lock);
        doing = what;
        ++steps;
        changed.notify_all();
    }

private:
    void Watch() {
        std::unique_lock guard(lock);
        while (!over) {
            const uint64_t before = steps;
            if (changed.wait_for(guard, std::chrono::minutes(1), [&] { return over || steps != before; })) continue;
            std::fprintf(stderr, "seed %u: step %llu, %s, does not return\n", seed, (unsigned long long)steps, doing);
            std::abort();
        }
    }

    const uint32_t seed;
    std::mutex lock;
    std::condition_variable changed;
    const char* doing = "start";
    uint64_t steps = 0;
    bool over = false;
    std::thread thread;
};

void stress(uint32_t seed, bool live, std::chrono::milliseconds span) {
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    ::testing::Test::RecordProperty("seed", int(seed));
    std::mt19937 random(seed);
    World world;
    CCaptureGraphBuilder builder(world);
    builder.SetFiltergraph(&world.graph);
    const auto source =
        world.add(makeRef<NumberedSource>(SourceOptions{
                      .pins = {{.types = {rawType(), rgb24Type(16, 8, 0)}, .category = PIN_CATEGORY_CAPTURE}},
                      .frames = live ? -1 : 200,
                      .pace = std::chrono::microseconds(200),
                      .live = live,
                      .seekable = !live}),
                  u"source");
    source->keepsTrack = false;
    const auto stamp = world.add(makeRef<Stamp>(), u"stamp");
    const auto screen = world.add(makeRef<Screen>(), u"screen");
    const auto record = world.add(makeRef<Writer>(), u"record");
    const auto extra = makeRef<Screen>(true);

    Watchdog watchdog(seed);
    std::atomic<bool> over{false};
    std::thread listener([&] {
        while (!over) {
            const GraphEvent event = world.event(20);
            world.graph.FreeEventParams(event.code, event.first, event.second);
        }
    });
    std::thread teller([&] {  // as the watch for devices does
        while (!over) {
            source->NotifyEvent(EC_DEVICE_LOST, reinterpret_cast<intptr_t>(static_cast<CBaseFilter*>(source.get())), 1);
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
        }
    });

    const auto chance = [&](uint32_t of) { return uint32_t(random()) % of; };
    const auto somePin = [&]() -> CBasePin& {
        const auto filters = world.graph.Filters();
        CBaseFilter& filter = *filters[chance(uint32_t(filters.size()))];
        return *filter.GetPin(chance(uint32_t(filter.GetPinCount())));
    };
    const auto end = std::chrono::steady_clock::now() + span;
    uint64_t calls = 0, runs = 0;
    while (std::chrono::steady_clock::now() < end) {
        ++calls;
        switch (chance(24)) {
            case 0:
            case 1:
            case 2:
                watchdog.step("run");
                runs += world.graph.Run() >= 0;
                break;
            case 3:
            case 4:
                watchdog.step("pause");
                world.graph.Pause();
                break;
            case 5:
            case 6:
                watchdog.step("stop");
                ASSERT_EQ(world.graph.Stop(), S_OK);
                break;
            case 7:
                watchdog.step("seek");
                world.graph.SetPosition(int64_t(chance(210)) * frameTime);
                break;
            case 8:
                watchdog.step("state");
                if (FilterState state; true) world.graph.GetState(chance(5), &state);
                break;
            case 9:
                watchdog.step("disconnect");
                world.graph.Disconnect(somePin());
                break;
            case 10: {
                watchdog.step("connect");
                CBasePin &one = somePin(), &other = somePin();
                if (one.Direction() == PinDirection::Output && other.Direction() == PinDirection::Input)
                    world.graph.Connect(static_cast<CBaseOutputPin&>(one), static_cast<CBaseInputPin&>(other));
                break;
            }
            case 11:
                watchdog.step("render the capture");
                builder.RenderStream(PIN_CATEGORY_CAPTURE, MEDIATYPE_Video, *source, chance(2) ? stamp.get() : nullptr,
                                     *record);
                break;
            case 12:
                watchdog.step("render the preview");
                builder.RenderStream(PIN_CATEGORY_PREVIEW, MEDIATYPE_Video, *source, nullptr, *screen);
                break;
            case 13:
                watchdog.step("add or remove");
                if (world.graph.RemoveFilter(*extra) == VFW_E_NOT_IN_GRAPH) world.graph.AddFilter(extra, u"extra");
                break;
            case 14: {
                watchdog.step("begin anew");
                // Rarely, or no graph would ever grow.
                if (chance(4) != 0 || world.graph.Stop() != S_OK) break;
                const std::vector<const CBaseFilter*> keep = {source.get(), stamp.get(), screen.get(), record.get()};
                for (const Ref<CBaseFilter>& filter : world.graph.Filters())
                    if (std::find(keep.begin(), keep.end(), filter.get()) == keep.end())
                        world.graph.RemoveFilter(*filter);
                for (const CBaseFilter* const filter : keep) {
                    auto& kept = const_cast<CBaseFilter&>(*filter);
                    for (size_t i = 0; CBasePin* const pin = kept.GetPin(i); ++i) world.graph.Disconnect(*pin);
                }
                break;
            }
            default:
                watchdog.step("wait");
                std::this_thread::sleep_for(std::chrono::microseconds(chance(3000)));
        }
    }
    watchdog.step("the last stop");
    EXPECT_EQ(world.graph.Stop(), S_OK);
    over = true;
    listener.join();
    teller.join();
    EXPECT_TRUE(!source->Pool() || isWhole(*source->Pool()));
    for (const Ref<CBaseFilter>& filter : world.graph.Filters()) EXPECT_TRUE(filter->IsStopped());
    ::testing::Test::RecordProperty("calls", int(calls));
    EXPECT_GT(runs, 0u);
    std::printf("seed %u: %llu calls, %llu runs, %lld frames\n", seed, (unsigned long long)calls,
                (unsigned long long)runs, (long long)source->sent.load());
}

TEST(GraphStress, ALiveSourceUnderRandomCalls) { stress(20240229, true, std::chrono::seconds(3)); }
TEST(GraphStress, AFileUnderRandomCalls) { stress(8128, false, std::chrono::seconds(3)); }

}  // namespace graph_stress_test
}  // namespace vexcap::test
