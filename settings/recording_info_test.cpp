#include "settings/recording_info.h"

#include <limits>
#include <new>

#include "settings/naming.h"
#include "settings/settings_testing.h"

namespace vexcap {
namespace recording_info_test {

using test::Names;

constexpr const char16_t* mjpeg = u"@device:sw:{33D9A760-90C8-11D0-BD43-00A0C911CE86}\\MJPEG Compressor";

GpuEncoder h264On(uint64_t luid) { return {videoFormatH264, u"adapter", u"H264 encoder", luid, 0x8086}; }
GpuEncoder hevcOn(uint64_t luid) { return {videoFormatHevc, u"adapter", u"HEVC encoder", luid, 0x8086}; }

const Names baseNames = {u"SecPerKey", u"BitRateScale", u"CaptureQuality", u"UseTimeLimit", u"TimeLimit", u"Hardware"};
const Names metadataNames = {u"CaptureTitle", u"CaptureAuthor", u"CaptureCopyright", u"CaptureDescription"};
const Names adapterNames = {u"LUIDLowPart", u"LUIDHighPart"};

Names operator+(Names a, const Names& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

class WizardInfo : public test::SettingsFixture {
protected:
    void bindSinkWriter() { ports.remembersEncoder = true; }
    void offerGpus(std::vector<GpuEncoder> encoders) {
        fakes.encoders.offer.hasGpuList = true;
        fakes.encoders.offer.gpuEncoders = std::move(encoders);
    }
    void saveCapture() {
        CWizardCaptureInfo info = capture();
        info.commit = true;
    }
    void saveBroadcast() {
        CWizardBroadcastInfo info = broadcast();
        info.commit = true;
    }
    void offerCompressors() { fakes.media.compressors = {{u"first", u"First"}, {mjpeg, u"MJPEG"}, {u"x", u"X"}}; }
};

// --- Load: what a recording and a broadcast have in common ---------------------------------------------------------

TEST_F(WizardInfo, TakesItsSourceAndTheStandardsWhereNothingIsStored) {
    const WizardSource from = {owner.native(), 1920, 1080, 30, true, 12, true};
    const CWizardCaptureInfo info(ports, from);
    EXPECT_EQ(info.parentWindow, owner.native());
    EXPECT_TRUE(info.isCapture);
    EXPECT_TRUE(info.isCamera);
    EXPECT_EQ(info.width, 1920u);
    EXPECT_EQ(info.height, 1080u);
    EXPECT_EQ(info.frameRate, 30u);
    EXPECT_EQ(info.bitDepth, 12u);
    EXPECT_TRUE(info.skipMediaFoundation);
    EXPECT_EQ(info.defaultBitRate, 10240u);
    EXPECT_FALSE(info.aviOutput);
    EXPECT_EQ(info.encoderKind, 0u) << "nothing encodes here";
    EXPECT_FALSE(info.serOutput);
    EXPECT_EQ(info.BitRateScale, 100u);
    EXPECT_EQ(info.bitRate, 10240u);
    EXPECT_EQ(info.SecPerKey, 4u);
    EXPECT_EQ(info.CaptureQuality, 100u);
    EXPECT_FALSE(info.UseTimeLimit);
    EXPECT_EQ(info.TimeLimit, 60u);
    EXPECT_FALSE(info.useFrameLimit);
    EXPECT_EQ(info.frameLimit, 0xFFFFFFFFu);
    EXPECT_EQ(info.timeLapse, 1u);
    EXPECT_TRUE(info.Hardware);
    EXPECT_FALSE(info.commit);
    EXPECT_FALSE(info.profileBuilt);
    EXPECT_EQ(info.fileName, u"240305070809");
    EXPECT_EQ(info.directory, u"/home/user/Documents/Product");
    EXPECT_EQ(info.fullPath, u"");
    EXPECT_EQ(info.LUIDLowPart, 0u);
    EXPECT_EQ(info.LUIDHighPart, 0u);
    EXPECT_EQ(info.CaptureTitle, u"");
    EXPECT_TRUE(info.compressors.empty());
    EXPECT_EQ(info.compressorIndex, -1);
}

TEST_F(WizardInfo, StandardsHoldAlsoWhereSettingsCannotBeKept) {
    ports.key = nullptr;
    CWizardCaptureInfo info = capture();
    EXPECT_EQ(info.CaptureQuality, 100u);
    EXPECT_EQ(info.TimeLimit, 60u);
    EXPECT_EQ(info.fileName, u"240305070809");
    info.commit = true;
}

TEST_F(WizardInfo, TakesWhatIsStored) {
    store(u"BitRateScale", 150u);
    store(u"SecPerKey", 10u);
    store(u"CaptureQuality", 70u);
    store(u"UseTimeLimit", 1u);
    store(u"TimeLimit", 90u);
    store(u"Hardware", 0u);
    store(u"CaptureTitle", u"Mars");
    store(u"CaptureAuthor", u"Ada");
    store(u"CaptureCopyright", u"2024");
    store(u"CaptureDescription", u"Opposition");
    store(u"FileNamePrefix", u"mars-");
    store(u"CapturePath", u"/data");
    const CWizardCaptureInfo info = capture();
    EXPECT_EQ(info.BitRateScale, 150u);
    EXPECT_EQ(info.bitRate, 1536u);
    EXPECT_EQ(info.SecPerKey, 10u);
    EXPECT_EQ(info.CaptureQuality, 70u);
    EXPECT_TRUE(info.UseTimeLimit);
    EXPECT_EQ(info.TimeLimit, 90u);
    EXPECT_FALSE(info.Hardware);
    EXPECT_EQ(info.CaptureTitle, u"Mars");
    EXPECT_EQ(info.CaptureAuthor, u"Ada");
    EXPECT_EQ(info.CaptureCopyright, u"2024");
    EXPECT_EQ(info.CaptureDescription, u"Opposition");
    EXPECT_EQ(info.fileName, u"mars-240305070809");
    EXPECT_EQ(info.directory, u"/data");
}

TEST_F(WizardInfo, ABitRateScaleOf500LoadsAs400AndOneOf10As25) {
    store(u"BitRateScale", 500u);
    EXPECT_EQ(capture().BitRateScale, 400u);
    EXPECT_EQ(capture().bitRate, 4096u);
    store(u"BitRateScale", 10u);
    EXPECT_EQ(capture().BitRateScale, 25u);
    EXPECT_EQ(capture().bitRate, 256u);
}

TEST_F(WizardInfo, ATimeLimitOf40000LoadsAs36000AndOneOf0As1) {
    store(u"TimeLimit", 40000u);
    EXPECT_EQ(capture().TimeLimit, 36000u);
    store(u"TimeLimit", 0u);
    EXPECT_EQ(capture().TimeLimit, 1u);
}

TEST_F(WizardInfo, AKeySpacingOrAQualityOf0LoadsAs1) {
    store(u"SecPerKey", 0u);
    store(u"SecPerKeyBroadcast", 0u);
    store(u"CaptureQuality", 0u);
    EXPECT_EQ(capture().SecPerKey, 1u);
    EXPECT_EQ(broadcast().SecPerKey, 1u);
    EXPECT_EQ(capture().CaptureQuality, 1u);
}

TEST_F(WizardInfo, ARecordingAndABroadcastHaveTheirOwnKeySpacing) {
    store(u"SecPerKey", 40u);
    store(u"SecPerKeyBroadcast", 3u);
    EXPECT_EQ(capture().SecPerKey, 30u);
    EXPECT_EQ(broadcast().SecPerKey, 3u);
    store(u"SecPerKeyBroadcast", 40u);
    EXPECT_EQ(broadcast().SecPerKey, 4u);
    fakes.settings.values.clear();
    EXPECT_EQ(capture().SecPerKey, 4u);
    EXPECT_EQ(broadcast().SecPerKey, 1u);
}

TEST_F(WizardInfo, MetadataOfMoreThan128CharactersReadsAsEmpty) {
    for (const std::u16string& name : metadataNames) store(name, std::u16string(129, u'a'));
    {
        const CWizardCaptureInfo info = capture();
        for (const auto& text : {info.CaptureTitle, info.CaptureAuthor, info.CaptureCopyright, info.CaptureDescription})
            EXPECT_EQ(text, u"");
    }
    for (const std::u16string& name : metadataNames) store(name, std::u16string(128, u'a'));
    EXPECT_EQ(capture().CaptureDescription.size(), 128u);
}

TEST_F(WizardInfo, TheBitRateIsTheRoundedShareOfTheDefault) {
    CWizardCaptureInfo info = capture();
    ASSERT_EQ(info.defaultBitRate, 1024u);
    const struct {
        uint32_t percent, scale, bitRate;
    } cases[] = {{100, 100, 1024}, {33, 33, 338}, {30, 30, 307},    {26, 26, 266},          {399, 399, 4086},
                 {0, 25, 256},     {24, 25, 256}, {401, 400, 4096}, {UINT32_MAX, 400, 4096}};
    for (const auto& c : cases) {
        info.putBitRateScale(c.percent);
        EXPECT_EQ(info.BitRateScale, c.scale);
        EXPECT_EQ(info.bitRate, c.bitRate) << c.percent << " %";
    }
    WizardSource large = source();
    large.width = large.height = UINT32_MAX;
    CWizardCaptureInfo most(ports, large);
    most.putBitRateScale(400);
    EXPECT_EQ(most.bitRate, 131072u);
}

TEST(DefaultBitRate, GrowsWithThePictureInStepsOf256From256To32768) {
    const struct {
        uint32_t width, height, rate, expected;
    } cases[] = {
        {640, 480, 20, 1024},     {640, 480, 10, 512},     {640, 480, 9, 256},     {640, 480, 5, 256},
        {640, 480, 4, 256},       {1920, 1080, 30, 10240}, {640, 480, 639, 32512}, {640, 480, 640, 32768},
        {640, 480, 10000, 32768}, {6000, 4000, 30, 32768}, {320, 240, 25, 256},    {1, 1, 1, 256},
    };
    for (const auto& c : cases)
        EXPECT_EQ(defaultBitRateOf(c.width, c.height, c.rate), c.expected)
            << c.width << " x " << c.height << ", " << c.rate;
}

TEST(DefaultBitRate, HasAValueForEverySize) {
    constexpr uint32_t most = std::numeric_limits<uint32_t>::max();
    EXPECT_EQ(defaultBitRateOf(0, 0, 0), 256u);
    EXPECT_EQ(defaultBitRateOf(0, most, most), 256u);
    EXPECT_EQ(defaultBitRateOf(most, 0, most), 256u);
    EXPECT_EQ(defaultBitRateOf(most, most, 0), 256u);
    EXPECT_EQ(defaultBitRateOf(most, most, most), 32768u);
    EXPECT_EQ(defaultBitRateOf(65536, 65536, 1), 32768u) << "the product does not wrap";
}

TEST_F(WizardInfo, AdapterNumbersAreReadOnlyWithAListOfAdapters) {
    store(u"LUIDLowPart", 0x11u);
    store(u"LUIDHighPart", 0x22u);
    {
        const CWizardBroadcastInfo info = broadcast();
        EXPECT_EQ(info.LUIDLowPart, 0u);
        EXPECT_EQ(info.LUIDHighPart, 0u);
        EXPECT_FALSE(wasRead(u"LUIDLowPart") || wasRead(u"LUIDHighPart"));
    }
    offerGpus({});
    const CWizardBroadcastInfo info = broadcast();
    EXPECT_EQ(info.LUIDLowPart, 0x11u);
    EXPECT_EQ(info.LUIDHighPart, 0x22u);
}

TEST_F(WizardInfo, TakesTheEncodersThatAreFound) {
    fakes.encoders.offer = {true, false, true, true, true, {h264On(5), hevcOn(6)}};
    const CWizardBroadcastInfo info = broadcast();
    EXPECT_TRUE(info.softwareH264);
    EXPECT_FALSE(info.softwareHevc);
    EXPECT_TRUE(info.hardwareH264);
    EXPECT_TRUE(info.hardwareHevc);
    EXPECT_TRUE(info.hasGpuList);
    ASSERT_EQ(info.gpuEncoders.size(), 2u);
    EXPECT_EQ(info.gpuEncoders[1].luid, 6u);
}

// --- Load: a recording ----------------------------------------------------------------------------------------------

TEST_F(WizardInfo, TheEncoderIsTheRememberedOneCorrectedByWhatThereIs) {
    constexpr uint32_t missing = UINT32_MAX;
    const struct {
        bool h264, hevc;
        uint32_t stored, encoderKind;
        bool readsAvi;
    } cases[] = {
        {true, true, 0, 0, true},         {true, true, 1, 1, false},        {true, true, 2, 2, false},
        {true, true, 7, 1, false},        {true, true, missing, 1, false},  {true, false, 0, 1, false},
        {true, false, 1, 1, false},       {true, false, 2, 1, false},       {true, false, 7, 1, false},
        {true, false, missing, 1, false}, {false, true, 0, 2, false},       {false, true, 1, 2, false},
        {false, true, 2, 2, false},       {false, true, 7, 2, false},       {false, true, missing, 2, false},
        {false, false, 0, 0, true},       {false, false, 1, 0, true},       {false, false, 2, 0, true},
        {false, false, 7, 0, true},       {false, false, missing, 0, true},
    };
    for (const auto& c : cases) {
        fakes.settings.values.clear();
        if (c.stored != missing) store(u"VideoCaptureH264", c.stored);
        for (const uint32_t avi : {0u, 1u}) {
            store(u"VideoCaptureAVI", avi);
            // A codec is there by software, by hardware or by both.
            for (const int way : {1, 2, 3}) {
                SCOPED_TRACE(testing::Message()
                             << c.h264 << c.hevc << " stored " << c.stored << " avi " << avi << " way " << way);
                const bool software = way & 1, hardware = way & 2;
                fakes.encoders.offer = {
                    c.h264 && software, c.hevc && software, c.h264 && hardware, c.hevc && hardware, false, {}};
                fakes.settings.read.clear();
                const CWizardCaptureInfo info = capture();
                EXPECT_EQ(info.encoderKind, c.encoderKind);
                EXPECT_EQ(info.aviOutput, c.readsAvi && avi);
                EXPECT_EQ(wasRead(u"VideoCaptureAVI"), c.readsAvi);
            }
        }
    }
}

TEST_F(WizardInfo, AVideoCaptureH264Of7ReadsAs1) {
    fakes.encoders.offer.softwareH264 = fakes.encoders.offer.softwareHevc = true;
    store(u"VideoCaptureH264", 7u);
    EXPECT_EQ(capture().encoderKind, 1u);
}

TEST_F(WizardInfo, HardwareIsSettledByTheOnlyEncoderOfTheCodec) {
    for (const uint32_t kind : {1u, 2u}) {
        for (const uint32_t stored : {0u, 1u}) {
            store(u"VideoCaptureH264", kind);
            store(u"Hardware", stored);
            // The other codec has both, so that it would let the stored value stand.
            EncoderOffer& offer = fakes.encoders.offer;
            offer = {true, true, true, true, false, {}};
            bool& software = kind == 1 ? offer.softwareH264 : offer.softwareHevc;
            bool& hardware = kind == 1 ? offer.hardwareH264 : offer.hardwareHevc;
            EXPECT_EQ(capture().Hardware, bool(stored)) << "both";
            hardware = false;
            EXPECT_FALSE(capture().Hardware) << "software alone";
            hardware = true;
            software = false;
            EXPECT_TRUE(capture().Hardware) << "hardware alone";
            EXPECT_EQ(capture().encoderKind, kind);
        }
    }
}

TEST_F(WizardInfo, HardwareStandsWithoutAnEncoderAndForABroadcast) {
    for (const uint32_t stored : {0u, 1u}) {
        store(u"Hardware", stored);
        fakes.encoders.offer = {};
        EXPECT_EQ(capture().Hardware, bool(stored));
        fakes.encoders.offer.softwareH264 = true;
        EXPECT_EQ(broadcast().Hardware, bool(stored));
    }
}

TEST_F(WizardInfo, ABroadcastHasNoFileFormatAndNoAdapterIsChosenForIt) {
    fakes.encoders.offer.softwareH264 = fakes.encoders.offer.hardwareH264 = true;
    offerGpus({h264On(7)});
    store(u"VideoCaptureH264", 1u);
    store(u"VideoCaptureAVI", 1u);
    store(u"BroadcastPort", 81u);
    const CWizardBroadcastInfo info = broadcast();
    EXPECT_FALSE(info.isCapture);
    EXPECT_EQ(info.encoderKind, 0u);
    EXPECT_FALSE(info.aviOutput);
    EXPECT_FALSE(info.saveCopy);
    EXPECT_EQ(info.BroadcastPort, 2080u);
    EXPECT_EQ(info.LUIDLowPart, 0u);
    EXPECT_TRUE(info.Hardware);
}

// --- Adapters -------------------------------------------------------------------------------------------------------

TEST_F(WizardInfo, TheAdapterIsTheRememberedOneOfTheCodecElseTheFirst) {
    constexpr uint64_t large = 0x1234567890ABCDEF;
    const std::vector<GpuEncoder> both = {h264On(5), h264On(large), hevcOn(6), hevcOn(large)};
    const struct {
        const char* what;
        std::vector<GpuEncoder> encoders;
        uint32_t encoderKind;
        uint64_t stored, expected;
    } cases[] = {
        {"the stored one", both, 1, large, large},
        {"the stored one of H.265", both, 2, large, large},
        {"the stored one has another codec alone", both, 1, 6, 5},
        {"the same for H.265", both, 2, 5, 6},
        {"an unknown one", both, 1, 99, 5},
        {"only half of the number agrees", both, 1, large & 0xFFFFFFFF, 5},
        {"none is stored", both, 2, 0, 6},
        {"no encoder counts as H.264", both, 0, 99, 5},
        {"no adapter has the codec", {hevcOn(6)}, 1, 6, 0},
        {"no adapter at all", {}, 1, 6, 0},
        {"0 is no adapter, though it is stored", {h264On(5), h264On(0)}, 1, 0, 5},
        {"the first one has no number", {h264On(0), h264On(5)}, 1, 99, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        CWizardBroadcastInfo info = broadcast();
        info.hasGpuList = true;
        info.gpuEncoders = c.encoders;
        info.encoderKind = c.encoderKind;
        info.LUIDLowPart = uint32_t(c.stored);
        info.LUIDHighPart = uint32_t(c.stored >> 32);
        info.Hardware = true;
        resolveGpu(info);
        EXPECT_EQ(info.LUIDLowPart, uint32_t(c.expected));
        EXPECT_EQ(info.LUIDHighPart, uint32_t(c.expected >> 32));
        EXPECT_EQ(info.Hardware, c.expected != 0);
    }
}

TEST_F(WizardInfo, NoAdapterIsChosenWithoutHardwareOrWithoutAList) {
    CWizardBroadcastInfo info = broadcast();
    info.gpuEncoders = {h264On(5)};
    info.LUIDLowPart = 99;
    info.hasGpuList = true;
    info.Hardware = false;
    resolveGpu(info);
    EXPECT_EQ(info.LUIDLowPart, 99u);
    EXPECT_FALSE(info.Hardware);
    info.hasGpuList = false;
    info.Hardware = true;
    resolveGpu(info);
    EXPECT_EQ(info.LUIDLowPart, 99u);
    EXPECT_TRUE(info.Hardware);
}

TEST_F(WizardInfo, ARecordingSettlesOnAnAdapterWhenItIsLoaded) {
    fakes.encoders.offer.softwareH264 = fakes.encoders.offer.hardwareH264 = true;
    offerGpus({h264On(0x500000004), h264On(0x700000006)});
    store(u"LUIDLowPart", 6u);
    store(u"LUIDHighPart", 7u);
    EXPECT_EQ(capture().LUIDHighPart, 7u);
    store(u"LUIDHighPart", 8u);
    const CWizardCaptureInfo info = capture();
    EXPECT_EQ(info.LUIDLowPart, 4u);
    EXPECT_EQ(info.LUIDHighPart, 5u);
    EXPECT_TRUE(info.Hardware);
}

// --- The folder -----------------------------------------------------------------------------------------------------

TEST_F(WizardInfo, MakesItsFolder) {
    store(u"CapturePath", u"/data");
    store(u"DirSub", 2u);
    EXPECT_EQ(capture().directory, u"/data/2024/03/05");
    EXPECT_EQ(fakes.folders.created, Names{u"/data/2024/03/05"});
}

TEST_F(WizardInfo, AFailureToMakeItsFolderIsIgnored) {
    store(u"CapturePath", u"/data");
    fakes.folders.createFailure = E_ACCESSDENIED;
    EXPECT_EQ(capture().directory, u"/data");
}

// --- Astro mode -----------------------------------------------------------------------------------------------------

TEST_F(WizardInfo, InAstroModeNoSettingIsReadOrWritten) {
    ports.astroMode = true;
    bindSinkWriter();
    offerCompressors();
    offerGpus({h264On(5)});
    fakes.encoders.offer.softwareH264 = true;
    for (const bool avi : {false, true}) {
        CWizardCaptureInfo info = capture();
        CWizardBroadcastInfo other = broadcast();
        info.aviOutput = avi;
        info.loadCompressors();
        loadFileName(info);
        loadDirectory(info);
        info.commit = other.commit = true;
    }
    EXPECT_EQ(fakes.settings.read, Names());
    EXPECT_EQ(written(), Names());
}

TEST_F(WizardInfo, NoFolderIsMadeWhereTheHostNamesTheFile) {
    store(u"CapturePath", u"/data");
    for (const bool astro : {false, true}) {
        ports.astroMode = astro;
        WizardSource named = source();
        named.hostNamesFile = true;
        EXPECT_EQ(CWizardCaptureInfo(ports, named).directory, u"");
        EXPECT_TRUE(fakes.folders.created.empty());
        EXPECT_NE(capture().directory, u"");
        EXPECT_FALSE(fakes.folders.created.empty());
        fakes.folders.created.clear();
    }
}

TEST_F(WizardInfo, InAstroModeQualityAndBitRateAre0AndTheRestIsStandard) {
    ports.astroMode = true;
    store(u"CaptureQuality", 50u);
    store(u"SecPerKey", 9u);
    store(u"TimeLimit", 9u);
    store(u"FileNamePrefix", u"moon");
    fakes.encoders.offer.softwareH264 = fakes.encoders.offer.hardwareH264 = true;
    const CWizardCaptureInfo info = capture();
    EXPECT_EQ(info.defaultBitRate, 1024u);
    EXPECT_EQ(info.CaptureQuality, 0u);
    EXPECT_EQ(info.bitRate, 0u);
    EXPECT_EQ(info.SecPerKey, 1u);
    EXPECT_EQ(info.BitRateScale, 100u);
    EXPECT_EQ(info.TimeLimit, 60u);
    EXPECT_FALSE(info.UseTimeLimit);
    EXPECT_EQ(info.encoderKind, 0u);
    EXPECT_FALSE(info.aviOutput);
    EXPECT_EQ(info.fileName, u"");
    EXPECT_TRUE(info.softwareH264) << "encoders are looked for";
}

TEST_F(WizardInfo, InAstroModeTheStandardFolderIsMadeSureOf) {
    ports.astroMode = true;
    store(u"CapturePath", u"/data");
    EXPECT_EQ(capture().directory, u"/home/user/Documents/Product");
    EXPECT_EQ(fakes.folders.created, Names{u"/home/user/Documents/Product"});
    fakes.folders.documents = E_FAIL;
    EXPECT_EQ(broadcast().directory, u"/here");
}

// --- Save -----------------------------------------------------------------------------------------------------------

TEST_F(WizardInfo, ACancelledWizardSavesNothing) {
    bindSinkWriter();
    {
        CWizardCaptureInfo info = capture();
        CWizardBroadcastInfo other = broadcast();
        info.CaptureTitle = u"moon";
        info.TimeLimit = other.BroadcastPort = 5;
    }
    EXPECT_EQ(written(), Names());
    EXPECT_TRUE(fakes.settings.values.empty());
}

TEST_F(WizardInfo, ARecordingSavesItsFormatAndMetadataAndThenTheRest) {
    bindSinkWriter();
    fakes.encoders.offer.softwareHevc = true;
    {
        CWizardCaptureInfo info = capture();
        info.CaptureTitle = u"Mars";
        info.CaptureAuthor = u"Ada";
        info.CaptureCopyright = u"2024";
        info.CaptureDescription = std::u16string(259, u'd');
        info.SecPerKey = 7;
        info.putBitRateScale(80);
        info.CaptureQuality = 90;
        info.UseTimeLimit = true;
        info.TimeLimit = 12;
        info.Hardware = false;
        info.commit = true;
    }
    EXPECT_EQ(written(), Names({u"VideoCaptureAVI", u"VideoCaptureH264"}) + metadataNames + baseNames);
    EXPECT_EQ(storedNumber(u"VideoCaptureAVI"), 0u);
    EXPECT_EQ(storedNumber(u"VideoCaptureH264"), 2u);
    EXPECT_EQ(storedText(u"CaptureTitle"), u"Mars");
    EXPECT_EQ(storedText(u"CaptureAuthor"), u"Ada");
    EXPECT_EQ(storedText(u"CaptureCopyright"), u"2024");
    EXPECT_EQ(storedText(u"CaptureDescription"), std::u16string(259, u'd'));
    EXPECT_EQ(storedNumber(u"SecPerKey"), 7u);
    EXPECT_EQ(storedNumber(u"BitRateScale"), 80u);
    EXPECT_EQ(storedNumber(u"CaptureQuality"), 90u);
    EXPECT_EQ(storedNumber(u"UseTimeLimit"), 1u);
    EXPECT_EQ(storedNumber(u"TimeLimit"), 12u);
    EXPECT_EQ(storedNumber(u"Hardware"), 0u);
}

TEST_F(WizardInfo, WithoutASinkWriterTheEncoderIsNotSaved) {
    fakes.encoders.offer.softwareH264 = true;
    saveCapture();
    EXPECT_EQ(written(), Names{u"VideoCaptureAVI"} + metadataNames + baseNames);
}

TEST_F(WizardInfo, AnAviRecordingSavesItsCompressorInPlaceOfMetadata) {
    bindSinkWriter();
    offerCompressors();
    {
        CWizardCaptureInfo info = capture();
        info.aviOutput = true;
        info.loadCompressors();
        info.compressorIndex = 2;
        info.commit = true;
    }
    EXPECT_EQ(written(), Names({u"VideoCaptureAVI", u"VideoCaptureH264", u"AviCodec"}) + baseNames);
    EXPECT_EQ(storedNumber(u"VideoCaptureAVI"), 1u);
    EXPECT_EQ(storedNumber(u"VideoCaptureH264"), 0u);
    EXPECT_EQ(storedText(u"AviCodec"), u"x");
}

TEST_F(WizardInfo, ACompressorOutsideOfTheListOrWithoutANameIsSavedAsNone) {
    offerCompressors();
    fakes.media.compressors.push_back({u"", u"nameless"});
    for (const int32_t index : {-1, INT32_MIN, 3, 4, 5, INT32_MAX}) {
        {
            CWizardCaptureInfo info = capture();
            info.aviOutput = true;
            info.loadCompressors();
            info.compressorIndex = index;
            info.commit = true;
        }
        EXPECT_EQ(storedText(u"AviCodec"), u"None") << index;
    }
}

TEST_F(WizardInfo, ARememberedCompressorSurvivesASaveThatNeverLookedAtTheList) {
    offerCompressors();
    for (const auto* name : {u"x", u"None"}) {
        store(u"AviCodec", name);
        {
            CWizardCaptureInfo info = capture();
            info.aviOutput = info.commit = true;
        }
        EXPECT_EQ(storedText(u"AviCodec"), name);
    }
}

TEST_F(WizardInfo, TheAdapterIsSavedOnlyWithAListAndHardware) {
    offerGpus({h264On(0x700000006)});
    for (const bool hasList : {false, true}) {
        for (const bool hardware : {false, true}) {
            fakes.settings.written.clear();
            fakes.settings.values.clear();
            {
                CWizardCaptureInfo info = capture();
                info.hasGpuList = hasList;
                info.Hardware = hardware;
                info.commit = true;
            }
            const Names always = Names{u"VideoCaptureAVI"} + metadataNames + baseNames;
            EXPECT_EQ(written(), hasList && hardware ? always + adapterNames : always);
            if (!hasList || !hardware) continue;
            EXPECT_EQ(storedNumber(u"LUIDLowPart"), 6u);
            EXPECT_EQ(storedNumber(u"LUIDHighPart"), 7u);
        }
    }
}

TEST_F(WizardInfo, ABroadcastSavesItsPortOnceAndThenTheRest) {
    bindSinkWriter();
    {
        CWizardBroadcastInfo info = broadcast();
        info.BroadcastPort = 8080;
        info.SecPerKey = 2;
        info.aviOutput = true;
        info.commit = true;
    }
    Names expected = Names{u"BroadcastPort"} + baseNames;
    expected[1] = u"SecPerKeyBroadcast";
    EXPECT_EQ(written(), expected);
    EXPECT_EQ(storedNumber(u"BroadcastPort"), 8080u);
    EXPECT_EQ(storedNumber(u"SecPerKeyBroadcast"), 2u);
}

TEST_F(WizardInfo, ABroadcastSavesItsAdapterToo) {
    offerGpus({h264On(5)});
    {
        CWizardBroadcastInfo info = broadcast();
        info.LUIDLowPart = 5;
        info.commit = true;
    }
    EXPECT_EQ(Names(written().end() - 2, written().end()), adapterNames);
}

TEST_F(WizardInfo, NumbersAreSavedWithinTheirLimits) {
    {
        CWizardCaptureInfo info = capture();
        info.SecPerKey = 0;
        info.BitRateScale = 401;
        info.CaptureQuality = 0;
        info.TimeLimit = 36001;
        info.commit = true;
    }
    EXPECT_EQ(storedNumber(u"SecPerKey"), 1u);
    EXPECT_EQ(storedNumber(u"BitRateScale"), 400u);
    EXPECT_EQ(storedNumber(u"CaptureQuality"), 1u);
    EXPECT_EQ(storedNumber(u"TimeLimit"), 36000u);
    {
        CWizardBroadcastInfo info = broadcast();
        info.SecPerKey = 30;
        info.BroadcastPort = 0;
        info.commit = true;
    }
    EXPECT_EQ(storedNumber(u"SecPerKeyBroadcast"), 4u);
    EXPECT_EQ(storedNumber(u"BroadcastPort"), 2080u);
}

TEST_F(WizardInfo, AFailedSaveIsSilent) {
    bindSinkWriter();
    store(u"TimeLimit", 5u);
    fakes.settings.writeFailure = E_ACCESSDENIED;
    saveCapture();
    saveBroadcast();
    EXPECT_EQ(storedNumber(u"TimeLimit"), 5u);
}

TEST_F(WizardInfo, ASaveThatRunsOutOfMemoryEndsWithTheRecord) {
    struct ExhaustedKey final : ISettingsKey {
        std::optional<uint32_t> ReadNumber(std::u16string_view) override { return {}; }
        std::optional<std::u16string> ReadText(std::u16string_view) override { return {}; }
        Status WriteNumber(std::u16string_view, uint32_t) override {
            ++attempts;
            throw std::bad_alloc();
        }
        Status WriteText(std::u16string_view, std::u16string_view) override { throw std::bad_alloc(); }
        std::u16string Problem() override { return {}; }
        int attempts = 0;
    };
    ExhaustedKey exhausted;
    ports.key = &exhausted;
    saveCapture();
    EXPECT_EQ(exhausted.attempts, 2) << "the first value of either part";
    saveBroadcast();
    EXPECT_EQ(exhausted.attempts, 4);
}

// --- Compressors ----------------------------------------------------------------------------------------------------

TEST_F(WizardInfo, TheRememberedCompressorIsFoundByItsDisplayName) {
    offerCompressors();
    const struct {
        const char16_t* stored;
        int32_t expected;
    } cases[] = {{u"first", 0}, {u"x", 2}, {u"X", -1}, {u"gone", -1}, {u"None", 3}, {u"", 1}, {mjpeg, 1}};
    for (const auto& c : cases) {
        store(u"AviCodec", c.stored);
        CWizardCaptureInfo info = capture();
        info.loadCompressors();
        EXPECT_EQ(info.compressors.size(), 3u);
        EXPECT_EQ(info.compressorIndex, c.expected);
    }
}

TEST_F(WizardInfo, TheStandardCompressorIsMjpegIfItIsThere) {
    offerCompressors();
    CWizardCaptureInfo with = capture();
    with.loadCompressors();
    EXPECT_EQ(with.compressorIndex, 1);
    fakes.media.compressors.erase(fakes.media.compressors.begin() + 1);
    CWizardCaptureInfo without = capture();
    without.loadCompressors();
    EXPECT_EQ(without.compressorIndex, -1);
}

TEST_F(WizardInfo, OfTwoCompressorsWithOneNameTheFirstIsTaken) {
    fakes.media.compressors = {{u"a", u"1"}, {u"b", u"2"}, {u"b", u"3"}};
    store(u"AviCodec", u"b");
    CWizardCaptureInfo info = capture();
    info.loadCompressors();
    EXPECT_EQ(info.compressorIndex, 1);
}

TEST_F(WizardInfo, CompressorsAreLookedForOnceAndOnlyWhenNeeded) {
    offerCompressors();
    CWizardCaptureInfo info = capture();
    EXPECT_TRUE(info.compressors.empty());
    EXPECT_FALSE(wasRead(u"AviCodec"));
    info.loadCompressors();
    info.compressorIndex = 0;
    fakes.media.compressors.clear();
    info.loadCompressors();
    EXPECT_EQ(info.compressors.size(), 3u);
    EXPECT_EQ(info.compressorIndex, 0) << "what a user chose stands";
}

TEST_F(WizardInfo, WithoutCompressorsNoneIsTheFirstIndex) {
    store(u"AviCodec", u"None");
    CWizardCaptureInfo info = capture();
    info.loadCompressors();
    EXPECT_EQ(info.compressorIndex, 0);
}

}  // namespace recording_info_test
}  // namespace vexcap
