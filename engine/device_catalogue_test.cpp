#include "engine/device_catalogue.h"

#include "base/text.h"
#include "engine/state/engine_testing.h"

namespace vexcap {
namespace device_catalogue_test {

class EnumDevices : public EngineFixture {
protected:
    void add(std::u16string_view display, std::u16string_view identifier) {
        vex_camera_entry entry = {};
        copyToField(entry.display, std::size(entry.display), display);
        copyToField(entry.identifier, std::size(entry.identifier), identifier);
        library.entries.push_back(entry);
    }
    struct Device {
        std::u16string name, display;
        uint32_t kind;
        bool operator==(const Device&) const = default;
    };
    std::vector<Device> list(const vex_char* filter = nullptr) {
        vex_device* const devices = enumDevices(engine, filter);
        std::vector<Device> found;
        for (const vex_device* d = devices; d && d->name; ++d) found.push_back({d->name, d->display, d->kind});
        freeDevices(devices);
        return found;
    }
};

TEST_F(EnumDevices, NoDeviceAtAllGivesNull) {
    init();
    EXPECT_EQ(enumDevices(engine, nullptr), nullptr);
}

TEST_F(EnumDevices, WithoutACameraLibraryItGivesNull) {
    add(u"Camera", u"id");
    scriptCameraLibrary("Test_EnumV2");
    init();
    EXPECT_EQ(enumDevices(engine, nullptr), nullptr);
}

TEST_F(EnumDevices, TheArrayEndsWithARecordOfTwoNullsAndKind0) {
    add(u"Camera", u"id");
    init();
    vex_device* const devices = enumDevices(engine, nullptr);
    ASSERT_NE(devices, nullptr);
    EXPECT_EQ(devices[1].name, nullptr);
    EXPECT_EQ(devices[1].display, nullptr);
    EXPECT_EQ(devices[1].kind, 0u);
    freeDevices(devices);
}

TEST_F(EnumDevices, InAstroModeNamesBeginWithADollar) {
    add(u"Camera", u"id");
    arguments.gainBalance = 1;
    init();
    EXPECT_EQ(list(), (std::vector<Device>{{u"$id", u"Camera", VEX_KIND_CAMERA}}));
}

TEST_F(EnumDevices, WithGainBalanceNamesBeginWithAnAmpersandElseWithAnExclamationMark) {
    add(u"Camera", u"id");
    arguments.astroMode = 0;
    arguments.gainBalance = 1;
    init();
    EXPECT_EQ(list()[0].name, u"&id");
    arguments.gainBalance = 0;
    init();
    EXPECT_EQ(list()[0].name, u"!id");
}

TEST_F(EnumDevices, CamerasKeepTheirOrder) {
    for (int i = 0; i < 16; ++i) add(std::u16string(1, char16_t('A' + i)), u"id");
    init();
    const auto found = list();
    ASSERT_EQ(found.size(), 16u);
    for (int i = 0; i < 16; ++i) EXPECT_EQ(found[i].display, std::u16string(1, char16_t('A' + i)));
}

TEST_F(EnumDevices, ANonsenseCountIsCutToTheRoom) {
    for (int i = 0; i < 16; ++i) add(u"Camera", u"id");
    init();
    for (const uint32_t count : {17u, 1000000u, 0x80000000u, UINT32_MAX - 1}) {
        library.countAnswer = count;
        EXPECT_EQ(list().size(), 16u) << count;
    }
}

TEST_F(EnumDevices, StringsWithoutATerminatorAreReadToTheirRoom) {
    vex_camera_entry entry;
    std::fill(std::begin(entry.display), std::end(entry.display), u'd');
    std::fill(std::begin(entry.identifier), std::end(entry.identifier), u'i');
    library.entries.push_back(entry);
    init();
    EXPECT_EQ(list(), (std::vector<Device>{{u"$" + std::u16string(64, u'i'), std::u16string(64, u'd'), 1}}));
}

TEST(FreeDevices, NullIsAllowed) { freeDevices(nullptr); }

// What is behind the record of two nulls is not the array's any more: the address sanitizer would tell.
TEST(FreeDevices, StopsAtTheFirstRecordWithBothStringsNull) {
    auto* const devices = new vex_device[3]();
    devices[0].display = new vex_char[2]{u'a', 0};  // one null string does not end the list
    devices[2].name = reinterpret_cast<const vex_char*>(0x10);
    freeDevices(devices);
}

// --- Video input devices

class EnumVideoInputs : public EnumDevices {
protected:
    EnumVideoInputs() {
        arguments.astroMode = 0;
        fakes.videoDevices.entries = {{u"@device:v4l2:usb#vid_046d&pid_0825#1", u"A webcam"},
                                      {u"@device:v4l2:pci#0000:02:00.0#0", u"A grabber"}};
    }
};

TEST_F(EnumVideoInputs, TheyComeBehindTheCameras) {
    add(u"Camera", u"id");
    init();
    EXPECT_EQ(list(), (std::vector<Device>{{u"!id", u"Camera", VEX_KIND_CAMERA},
                                           {u"@device:v4l2:usb#vid_046d&pid_0825#1", u"A webcam", VEX_KIND_VIDEO_INPUT},
                                           {u"@device:v4l2:pci#0000:02:00.0#0", u"A grabber", VEX_KIND_VIDEO_INPUT}}));
}

TEST_F(EnumVideoInputs, AstroModeHasNoneEvenWithAFilter) {
    add(u"Camera", u"id");
    arguments.astroMode = 1;
    init();
    EXPECT_EQ(list(u"usb").size(), 1u);
}

TEST_F(EnumVideoInputs, TheFilterIsSearchedForInTheDeviceNameAlone) {
    init();
    ASSERT_EQ(list(u"vid_046d.*#1$").size(), 1u);
    EXPECT_EQ(list(u"vid_046d.*#1$")[0].display, u"A webcam");
    EXPECT_EQ(list(u"#").size(), 2u);
    EXPECT_TRUE(list(u"VID_046D").empty()) << "letters with their case";
    EXPECT_TRUE(list(u"webcam").empty()) << "not in what a user sees";
}

TEST_F(EnumVideoInputs, AFilterThatNothingMatchesLetsCamerasThrough) {
    add(u"Camera", u"id");
    init();
    EXPECT_EQ(list(u"nothing like this"), (std::vector<Device>{{u"!id", u"Camera", VEX_KIND_CAMERA}}));
}

TEST_F(EnumVideoInputs, AFilterThatCannotBeUnderstoodListsNone) {
    add(u"Camera", u"id");
    init();
    for (const vex_char* broken : {u"(", u"[", u"*", u"a{2,1}"})
        EXPECT_EQ(list(broken).size(), 1u) << toUtf8(textOf(broken));
}

TEST_F(EnumVideoInputs, AFilterOfMoreThanAThousandCharactersListsNone) {
    init();
    EXPECT_EQ(list((u"(" + std::u16string(998, u'|') + u")").c_str()).size(), 2u) << "a thousand";
    EXPECT_TRUE(list((u"(" + std::u16string(999, u'|') + u")").c_str()).empty());
    EXPECT_TRUE(list((std::u16string(30'000, u'(') + std::u16string(30'000, u')')).c_str()).empty());
}

TEST_F(EnumVideoInputs, SoftwareThatPosesAsADeviceIsNotListed) {
    fakes.videoDevices.entries.push_back({u"@device:sw:{video4linux}#video9", u"Loopback"});
    init();
    EXPECT_EQ(list().size(), 2u);
}

TEST_F(EnumVideoInputs, CompressorsAreListedInTheSameForm) {
    init();
    EXPECT_EQ(enumCodecs(engine), nullptr);
    fakes.media.compressors = {{u"@device:sw:one", u"One"}, {u"@device:sw:two", u"Two"}};
    vex_device* const codecs = enumCodecs(engine);
    ASSERT_NE(codecs, nullptr);
    EXPECT_EQ(textOf(codecs[1].name), u"@device:sw:two");
    EXPECT_EQ(textOf(codecs[1].display), u"Two");
    EXPECT_EQ(codecs[1].kind, 0u);
    EXPECT_EQ(codecs[2].name, nullptr);
    freeDevices(codecs);
}

}  // namespace device_catalogue_test
}  // namespace vexcap
