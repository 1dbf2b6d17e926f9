#include "platform/linux/plugins/plugin.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "platform/fake/fake_disk.h"
#include "platform/fake/fake_loader.h"

namespace vexcap {
namespace plugin_test {

struct IAnswer {
    static constexpr PluginAbi plugin = {"vexcap-answer", "vexcap_answer", 7};
    virtual ~IAnswer() = default;
    virtual int Answer() = 0;
};

struct FortyTwo final : IAnswer {
    int Answer() override { return 42; }
};

std::atomic<int> calls = 0;
IFileSystem* givenFiles = nullptr;

IAnswer* answerPlugin(uint32_t version, const PluginHost& host) {
    ++calls;
    givenFiles = &host.files;
    return pluginObject<IAnswer, FortyTwo>(version);
}
IAnswer* otherVersion(uint32_t version, const PluginHost&) { return pluginObject<IAnswer, FortyTwo>(version + 1); }

struct PluginOfAnswers : testing::Test {
    FakeLoader loader;
    PluginOfAnswers() {
        const auto keep = [](void* kept, uint32_t level, const vex_char* line) {
            static_cast<std::vector<std::u16string>*>(kept)->push_back(textFrom(u"%u %s", level, line));
        };
        log.SetHook(keep, &lines, VEX_LOG_DEBUG);
    }

    FakeDisk disk;
    Log log;
    std::vector<std::u16string> lines;
    Plugin<IAnswer> plugin{loader, {disk}, log};
};

TEST_F(PluginOfAnswers, ReturnsTheObjectAndHandsTheHostIn) {
    loader.add(u"libvexcap-answer.so.1", {{"vexcap_answer", symbolOf(&answerPlugin)}});
    IAnswer* const object = plugin.Loaded();
    ASSERT_NE(object, nullptr);
    EXPECT_EQ(object->Answer(), 42);
    EXPECT_EQ(givenFiles, &disk);
}

TEST_F(PluginOfAnswers, LoadsWhenItIsFirstNeededAndOnce) {
    loader.add(u"libvexcap-answer.so.1", {{"vexcap_answer", symbolOf(&answerPlugin)}});
    EXPECT_TRUE(loader.calls().empty());
    calls = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) threads.emplace_back([this] { EXPECT_NE(plugin.Loaded(), nullptr); });
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(loader.loaded(u"libvexcap-answer.so.1"), 1);
    EXPECT_EQ(calls, 1);
}

TEST_F(PluginOfAnswers, IsLookedForOnceWhereItIsMissing) {
    EXPECT_EQ(plugin.Loaded(), nullptr);
    EXPECT_EQ(plugin.Loaded(), nullptr);
    EXPECT_EQ(loader.calls().size(), 1u);
    EXPECT_EQ(lines,
              (std::vector<std::u16string>{u"2 The plug-in libvexcap-answer.so.1 cannot be loaded: no such file"}));
}

TEST_F(PluginOfAnswers, IsRefusedInAnotherVersion) {
    loader.add(u"libvexcap-answer.so.1", {{"vexcap_answer", symbolOf(&otherVersion)}});
    EXPECT_EQ(plugin.Loaded(), nullptr);
    EXPECT_EQ(loader.loaded(u"libvexcap-answer.so.1"), 0);
    EXPECT_EQ(lines, (std::vector<std::u16string>{u"2 The plug-in libvexcap-answer.so.1 is not of version 7"}));
}

TEST_F(PluginOfAnswers, TheLogSaysWhatWasLoaded) {
    loader.add(u"libvexcap-answer.so.1", {{"vexcap_answer", symbolOf(&answerPlugin)}});
    plugin.Loaded();
    plugin.Loaded();
    EXPECT_EQ(lines, (std::vector<std::u16string>{u"3 The plug-in libvexcap-answer.so.1 is loaded"}));
}

TEST_F(PluginOfAnswers, IsRefusedWithoutItsExport) {
    loader.add(u"libvexcap-answer.so.1", {});
    EXPECT_EQ(plugin.Loaded(), nullptr);
    EXPECT_EQ(loader.loaded(u"libvexcap-answer.so.1"), 0);
}

}  // namespace plugin_test
}  // namespace vexcap
