// What a frame costs, and what may happen at once.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "frame/dark/dark_field_testing.h"
#include "platform/fake/allocations.h"

namespace vexcap::test {
namespace dark_field_threads_test {

TEST_F(DarkFieldTest, FramesTakeNothingFromTheHeap) {
    Bytes frame = frameOf(9);
    setDark(withHotPixel());
    field.Enable(1);
    field.Capture(
        2000, [](void*, uint32_t, uint32_t, const uint8_t*, uint32_t, uint32_t) {}, nullptr);
    const size_t before = allocations();
    for (int i = 0; i < 1000; ++i) {
        field.Accumulate(frame.data(), 3, width, height);
        field.Apply(frame.data(), 3, width, height);
        field.Apply(frame.data(), 3, width - 1, height);
    }
    EXPECT_EQ(allocations() - before, 0u);
    EXPECT_EQ(frame[0], 9);
}

TEST_F(DarkFieldTest, AnIdleFrameTakesNoLock) {
    // Another thread holds the lock, in a callback that waits for the frames below.
    DarkField other(disk);
    other.SetDarkSize(width, height);
    other.SetDark(owned(Bytes(width * height * 3, 1)), width, height);
    struct Context {
        DarkField& field;
        std::atomic<bool> inside = false, over = false;
    } context{other, {}, {}};
    std::thread holder([&context] {
        context.field.Capture(0, nullptr, nullptr);
        context.field.Capture(
            0,
            [](void* given, uint32_t, uint32_t, const uint8_t*, uint32_t, uint32_t) {
                auto& c = *static_cast<Context*>(given);
                c.inside = true;
                while (!c.over) std::this_thread::yield();
            },
            &context);
    });
    while (!context.inside) std::this_thread::yield();
    Bytes frame = frameOf(9);
    EXPECT_EQ(other.Accumulate(frame.data(), 3, width, height), S_FALSE);  // the first capture is over
    other.Apply(frame.data(), 3, width, height);                           // there is a dark frame, but not enabled
    EXPECT_EQ(frame, frameOf(9));
    context.over = true;
    holder.join();
}

TEST_F(DarkFieldTest, FramesAndTheHostMeetWithoutARace) {
    disk.put(path, fileOf(Bytes(width * height * 3, 2)));
    std::atomic<bool> over = false;
    std::atomic<int> rounds = 0, completed = 0;
    std::thread source([&] {
        const Bytes clean = frameOf(50);
        for (int i = 0; i < 200 || (rounds < 400 && i < 1'000'000); ++i) {
            Bytes frame = clean;
            if (field.Accumulate(frame.data(), 3, width, height) != S_OK) field.Apply(frame.data(), 3, width, height);
            // Every channel alike, whatever dark frame was in force: 2 from the file, 50 captured, 7 handed over.
            ASSERT_TRUE(frame == frameOf(50) || frame == frameOf(48) || frame == frameOf(0) || frame == frameOf(43));
        }
        over = true;
    });
    std::thread host([&] {
        for (uint32_t i = 0; !over; ++i, ++rounds) {
            field.Enable(i % 3);
            field.Capture(
                i % 4,
                [](void* count, uint32_t, uint32_t, const uint8_t* complete, uint32_t, uint32_t) {
                    if (complete) ++*static_cast<std::atomic<int>*>(count);
                },
                &completed);
            EXPECT_EQ(field.Import(path.c_str()), S_OK);
            std::unique_ptr<uint8_t[]> taken;
            if (i % 2) field.TakeDark(&taken, nullptr, nullptr);
            if (i % 5 == 0) setDark(7);
            field.IsDfc();
            field.HasDfc();
        }
    });
    std::thread writer([&] {
        while (!over) {
            const HRESULT result = field.Export(u"out.bmp");
            EXPECT_TRUE(result == S_OK || result == E_UNEXPECTED);
            std::this_thread::yield();
        }
    });
    source.join();
    host.join();
    writer.join();
    EXPECT_GT(completed, 0);
}

TEST_F(DarkFieldTest, ChangesOfSizeMeetFramesWithoutARace) {
    std::atomic<bool> over = false;
    std::atomic<int> rounds = 0;
    std::thread source([&] {
        for (int i = 0; i < 200 || (rounds < 200 && i < 1'000'000); ++i) {
            const uint32_t w = width + uint32_t(i % 2) * 30;
            Bytes frame = frameOf(50, w, height);
            field.Accumulate(frame.data(), 3, w, height);
            field.Apply(frame.data(), 3, w, height);
        }
        over = true;
    });
    std::thread owner([&] {
        for (uint32_t i = 0; !over; ++i, ++rounds) {
            field.SetDarkSize(width + i % 2 * 30, height);
            field.Enable(1);
            field.Capture(1, nullptr, nullptr);
            if (i % 3 == 0) field.SetDark(owned(Bytes(width * height * 3, 1)), width, height);
        }
    });
    source.join();
    owner.join();
}

}  // namespace dark_field_threads_test
}  // namespace vexcap::test
