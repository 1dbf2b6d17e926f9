// What the library itself exports.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstring>
#include <set>
#include <thread>
#include <vector>

#include "tests/camera_contract/rules.h"
#include "tests/camera_contract/subject.h"
#include "tests/support/text.h"

namespace vexcap::contract {
namespace library_test {

LIBRARY_CHECK(Library, ExportsWhatIsNeeded, "EnumV2 and Open are needed.") {
    EXPECT_NE(subject().enumerate, nullptr) << subject().nameOf("EnumV2");
    EXPECT_NE(subject().open, nullptr) << subject().nameOf("Open");
}

LIBRARY_CHECK(Library, ListsAtMostSixteenCamerasAndWritesNothingBehindThem,
              "fills the list and returns the count of cameras, VEX_CAMERA_ENTRIES at most.") {
    ASSERT_NE(subject().enumerate, nullptr);
    std::vector<vex_camera_entry> entries(VEX_CAMERA_ENTRIES + 4);
    std::memset(entries.data(), 0x5A, entries.size() * sizeof entries[0]);
    const std::vector<vex_camera_entry> before = entries;
    EXPECT_LE(subject().enumerate(entries.data()), uint32_t(VEX_CAMERA_ENTRIES));
    EXPECT_EQ(std::memcmp(&entries[VEX_CAMERA_ENTRIES], &before[VEX_CAMERA_ENTRIES], 4 * sizeof entries[0]), 0);
}

LIBRARY_CHECK(Library, ListsNoEmptyTextAndNoIdentifierTwice,
              "No string is empty and no identifier stands in the list twice.") {
    ASSERT_NE(subject().enumerate, nullptr);
    vex_camera_entry entries[VEX_CAMERA_ENTRIES];
    std::memset(entries, 0x5A, sizeof entries);
    const uint32_t count = std::min<uint32_t>(subject().enumerate(entries), VEX_CAMERA_ENTRIES);
    std::set<std::u16string> identifiers;
    for (uint32_t i = 0; i < count; ++i) {
        EXPECT_NE(entries[i].display[0], 0) << "entry " << i;
        EXPECT_NE(entries[i].identifier[0], 0) << "entry " << i;
        EXPECT_TRUE(identifiers.insert(std::u16string(entries[i].identifier, 64).c_str()).second) << "entry " << i;
    }
}

LIBRARY_CHECK(Library, OpensEachCameraThatItLists,
              "A camera of the list can be opened with one of the characters at least, while nobody else has it.") {
    ASSERT_NE(subject().open, nullptr);
    for (const std::string& name : listedNames()) {
        const Camera camera(name);
        EXPECT_TRUE(bool(camera)) << name;
    }
}

LIBRARY_CHECK(Library, AnswersNullToNamesThatAreNoCameras,
              "Null when it cannot be opened, for a null name, and for a name that is no camera.") {
    ASSERT_NE(subject().open, nullptr);
    EXPECT_EQ(subject().open(nullptr), nullptr);
    const std::string mode(1, char(VEX_OPEN_ASTRO));
    for (const std::string& name :
         {std::string(), mode, mode + "no such camera", std::string("no such camera"), mode + std::string(1000, 'x'),
          mode + ";seed=1", mode + mode, std::string("\n\t"), mode + "../../etc/passwd"})
        EXPECT_EQ(subject().open(test::wide(name).c_str()), nullptr) << name;
    const vex_char broken[] = {u'$', 0xD800, 0xFFFF, 0xDC00, 0};
    EXPECT_EQ(subject().open(broken), nullptr);
}

LIBRARY_CHECK(Library, SaysWhyItOpensNoCamera,
              "why the calling thread's last Open returned null, always a failure; S_OK when it returned a camera.") {
    if (!subject().open || !subject().openStatus) GTEST_SKIP() << "no OpenStatus";
    EXPECT_EQ(subject().open(test::wide(std::string(1, char(VEX_OPEN_ASTRO)) + "no such camera").c_str()), nullptr);
    EXPECT_LT(subject().openStatus(), 0);
    EXPECT_LT(subject().openStatus(), 0) << "asked again";
    for (const std::string& name : listedNames()) {
        const Camera camera(name);
        if (camera) {
            EXPECT_EQ(subject().openStatus(), S_OK) << name;
        }
    }
}

LIBRARY_CHECK(Library, EndsTheWatchOfItsList,
              "registers the callback of changes of the list, null ends the watch; once it returned, the callback "
              "registered before neither runs nor comes.") {
    if (!subject().watch) GTEST_SKIP() << "no Watch";
    struct Host {
        const std::thread::id thread = std::this_thread::get_id();
        std::atomic<int> calls{0};
        std::atomic<bool> onOurThread{false};
        static void hear(void* context) {
            Host& self = *static_cast<Host*>(context);
            ++self.calls;
            if (std::this_thread::get_id() == self.thread) self.onOurThread = true;
        }
    } first, second;
    EXPECT_GE(subject().watch(nullptr, nullptr), 0) << "without a watch";
    ASSERT_GE(subject().watch(&Host::hear, &first), 0);
    ASSERT_GE(subject().watch(&Host::hear, &second), 0);
    const int before = first.calls;
    listedNames();
    EXPECT_GE(subject().watch(nullptr, nullptr), 0);
    const int last = second.calls;
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    EXPECT_EQ(first.calls, before) << "the callback that was replaced";
    EXPECT_EQ(second.calls, last);
    EXPECT_FALSE(first.onOurThread || second.onOurThread);
}

// A board of squares, its edges softened by averaging over `blur` pixels to either side.
std::vector<uint8_t> board(uint32_t width, uint32_t height, uint32_t bits, int blur) {
    const size_t stride = (size_t(width) * bits + 31) / 32 * 4;
    std::vector<uint8_t> picture(stride * height);
    for (uint32_t y = 0; y < height; ++y)
        for (uint32_t x = 0; x < width; ++x) {
            int sum = 0;
            for (int d = -blur; d <= blur; ++d) sum += ((int(x) + d + 64) / 16 + int(y) / 16) % 2 * 200 + 20;
            std::memset(&picture[y * stride + size_t(x) * bits / 8], sum / (2 * blur + 1), bits / 8);
        }
    return picture;
}

LIBRARY_CHECK(Library, FindsASharpPictureClearerThanASoftOneAndThatClearerThanAnEmptyOne,
              "how sharp a picture is; larger is sharper. 24 or 32 bits a pixel, bottom-up rows.") {
    if (!subject().clarity) GTEST_SKIP() << "no calc_ClarityFactor";
    for (const uint32_t bits : {24u, 32u})
        for (const uint32_t width : {128u, 101u}) {  // 101 * 3 needs padding
            const double sharp = subject().clarity(board(width, 96, bits, 0).data(), bits, width, 96);
            const double soft = subject().clarity(board(width, 96, bits, 6).data(), bits, width, 96);
            const std::vector<uint8_t> flat(size_t((width * bits + 31) / 32 * 4) * 96, 90);
            const double empty = subject().clarity(flat.data(), bits, width, 96);
            EXPECT_TRUE(std::isfinite(sharp) && std::isfinite(soft) && std::isfinite(empty));
            EXPECT_GT(sharp, soft) << bits << " bits, width " << width;
            EXPECT_GT(soft, empty) << bits << " bits, width " << width;
        }
}

LIBRARY_CHECK(Library, AnswersInitOclTheSameEachTime,
              "0 when pictures can be delivered into shared textures. The answer does not change.") {
    if (!subject().initOcl) GTEST_SKIP() << "no InitOcl";
    EXPECT_EQ(subject().initOcl(), subject().initOcl());
}

}  // namespace library_test
}  // namespace vexcap::contract
