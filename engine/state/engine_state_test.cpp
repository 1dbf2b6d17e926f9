#include "engine/state/engine_state.h"

#include "engine/state/engine_testing.h"

namespace vexcap {
namespace engine_state_test {

/// What the scripted libraries were asked.
struct Asked {
    std::vector<std::string> network;
    void (*devicesChanged)(int32_t) = nullptr;
    int drawingFactories = 0;
    int textFactories = 0;
};
Asked asked;

struct FakeFactory final : IVexUnknown {
    HRESULT QueryInterface(const vex_guid&, void**) override { return E_NOINTERFACE; }
    uint32_t AddRef() override { return ++references; }
    uint32_t Release() override { return --references; }
    uint32_t references = 1;
};
FakeFactory drawing, text;
bool textFactoryFails = false;

void priFlag(uint32_t value, uint32_t mask) {
    asked.network.push_back("PriFlag(" + std::to_string(value) + "," + std::to_string(mask) + ")");
}
HRESULT networkInit(void (*callback)(int32_t), void*) {
    asked.network.push_back("Init");
    asked.devicesChanged = callback;
    return S_FALSE;
}
int32_t networkFini() { return 42; }
int32_t rtlGetVersion(VersionRecord* record) {
    EXPECT_EQ(record->size, 276u);
    record->major = 10;
    return 0;
}
int32_t rtlGetOldVersion(VersionRecord* record) {
    record->major = 6;
    return 0;
}
int32_t rtlFails(VersionRecord* record) {
    record->major = 10;
    return -1;
}
HRESULT createDrawing(uint32_t, const vex_guid*, const void*, void** out) {
    ++asked.drawingFactories;
    *out = static_cast<IVexUnknown*>(&drawing);
    return S_OK;
}
HRESULT createText(uint32_t, const vex_guid*, IVexUnknown** out) {
    ++asked.textFactories;
    *out = textFactoryFails ? nullptr : &text;
    return S_OK;
}
const vex_char* germanText(const char* key) { return std::string(key) == "ids_nosource" ? u"Keine Quelle" : nullptr; }
char anything;

class EngineStateTest : public EngineFixture {
protected:
    EngineStateTest() {
        asked = {};
        drawing.references = text.references = 1;
        textFactoryFails = false;
        engine.libraries.d2dFactory = engine.libraries.dwriteFactory = nullptr;
        addNetworkLibrary();
    }
    ~EngineStateTest() override { engine.libraries.d2dFactory = engine.libraries.dwriteFactory = nullptr; }

    static const std::vector<std::string>& networkNames() {
        static const std::vector<std::string> names = {"Close",        "Enum",       "Init",      "Fini",    "Open",
                                                       "Pause",        "PriFlag",    "Record",    "Seek",    "Stop",
                                                       "get_Duration", "get_FourCC", "get_Inst",  "get_Pos", "get_Size",
                                                       "OpenVideo",    "CloseVideo", "WriteVideo"};
        return names;
    }
    void addNetworkLibrary(const std::string& without = {}) {
        std::map<std::string, void*> names;
        for (const std::string& name : networkNames()) names["Zornam_" + name] = &anything;
        names["Zornam_PriFlag"] = symbolOf(&priFlag);
        names["Zornam_Init"] = symbolOf(&networkInit);
        names["Zornam_Fini"] = symbolOf(&networkFini);
        names.erase("Zornam_" + without);
        fakes.loader.add(u"network.so", names);
    }
    void addSystemModules() {
        fakes.loader.add(u"ntdll.dll", {{"RtlGetVersion", symbolOf(&rtlGetVersion)}});
        fakes.loader.add(u"Kernel32.dll", {{"GetTickCount64", &anything}, {"GetUserDefaultLocaleName", &anything}});
        fakes.loader.add(u"wmvcore.dll", all({"WMCreateProfileManager", "WMCreateWriter", "WMCreateWriterNetworkSink",
                                              "WMCreateWriterFileSink", "WMCreateReader"}));
        fakes.loader.add(u"Mfplat.dll",
                         all({"MFStartup", "MFCreateMediaType", "MFCreateMemoryBuffer", "MFCreateSample",
                              "MFCreateAttributes", "MFTEnumEx", "MFTEnum2", "MFCreateDXGIDeviceManager"}));
        fakes.loader.add(u"Mfreadwrite.dll", all({"MFCreateSinkWriterFromURL"}));
        fakes.loader.add(u"dxgi.dll", all({"CreateDXGIFactory1"}));
        fakes.loader.add(u"d3d11.dll", all({"D3D11CreateDevice"}));
        fakes.loader.add(u"d2d1.dll", {{"D2D1CreateFactory", symbolOf(&createDrawing)}});
        fakes.loader.add(u"dwrite.dll", {{"DWriteCreateFactory", symbolOf(&createText)}});
    }
    static std::map<std::string, void*> all(const std::vector<std::string>& names) {
        std::map<std::string, void*> symbols;
        for (const std::string& name : names) symbols[name] = &anything;
        return symbols;
    }
    std::vector<std::u16string> loads() const {
        std::vector<std::u16string> names;
        for (const LoaderCall& call : fakes.loader.calls())
            if (call.kind == LoaderCall::Kind::Load) names.push_back(call.library);
        return names;
    }
    bool wasLoaded(std::u16string_view name) const {
        const auto names = loads();
        return std::find(names.begin(), names.end(), name) != names.end();
    }
    /// The eight functions that are there only together with a sink writer.
    int foundationBindings() const {
        const PlatformBindings& b = engine.libraries;
        int count = 0;
        for (void* f : {b.MFStartup, b.MFCreateMediaType, b.MFCreateMemoryBuffer, b.MFCreateSample,
                        b.MFCreateAttributes, b.MFTEnumEx, b.MFTEnum2, b.MFCreateDXGIDeviceManager})
            count += f != nullptr;
        return count;
    }
};

TEST_F(EngineStateTest, TheArgumentsAreKept) {
    init();
    EXPECT_EQ(engine.eventMessage, eventMessage);
    EXPECT_EQ(engine.sizeMessage, sizeMessage);
    EXPECT_EQ(engine.limitMessage, limitMessage);
    EXPECT_EQ(engine.dfcMessage, dfcMessage);
    EXPECT_EQ(engine.frameMessage, frameMessage);
    EXPECT_EQ(engine.deviceMessage, deviceMessage);
    EXPECT_EQ(engine.deviceWindow, deviceWindow.native());
    EXPECT_EQ(engine.productName, arguments.product);
    EXPECT_EQ(engine.softwareName, arguments.software);
    EXPECT_EQ(engine.frameRateCap, 32u);
    EXPECT_EQ(engine.frameRatePercent, 100u);
    EXPECT_EQ(engine.totalMemoryMB, 16384u);
}

TEST_F(EngineStateTest, InitClearsTheFactoryModeAndItsScratch) {
    engine.factoryMode = 1;
    engine.d2dAvailable = engine.libraries.windows10 = 1;
    init();
    EXPECT_EQ(engine.factoryMode, 0u);
    EXPECT_EQ(engine.d2dAvailable, 0u);
    EXPECT_EQ(engine.libraries.windows10, 0u);
}

TEST_F(EngineStateTest, InAstroModeTheNetworkIsOffWhateverTheHostWishes) {
    arguments.networkEnabled = 1;
    arguments.astroMode = 1;
    init();
    EXPECT_EQ(engine.networkEnabled, 0u);
    EXPECT_EQ(asked.network, (std::vector<std::string>{"PriFlag(0,2)", "Init"}));
}

TEST_F(EngineStateTest, AnEnabledNetworkIsToldItsPriority) {
    arguments.networkEnabled = 1;
    arguments.astroMode = 0;
    EXPECT_EQ(init(), S_FALSE);
    EXPECT_EQ(asked.network, (std::vector<std::string>{"PriFlag(2,2)", "Init"}));
}

TEST_F(EngineStateTest, AllEighteenNetworkNamesAreBoundEachToItsOwn) {
    std::map<std::string, void*> names;
    for (const std::string& name : networkNames()) names["Zornam_" + name] = &anything;
    names["Zornam_PriFlag"] = names["Zornam_Init"] = names["Zornam_Fini"] = nullptr;
    fakes.loader.add(u"network.so", names);
    init();
    std::vector<std::string> symbols;
    for (const LoaderCall& call : fakes.loader.calls())
        if (call.library == u"network.so" && call.kind == LoaderCall::Kind::Symbol) symbols.push_back(call.symbol);
    std::vector<std::string> expected;
    for (const std::string& name : networkNames()) expected.push_back("Zornam_" + name);
    EXPECT_EQ(symbols, expected);
    EXPECT_NE(engine.network.WriteVideo, nullptr);
    EXPECT_EQ(engine.network.Init, nullptr);
}

TEST_F(EngineStateTest, EachMissingNetworkNameStaysNullAndNothingCrashes) {
    for (const std::string& missing : networkNames()) {
        addNetworkLibrary(missing);
        init();
        engine.Fini();
    }
    addNetworkLibrary("Init");
    EXPECT_EQ(init(), 0);
    addNetworkLibrary("Fini");
    init();
    EXPECT_EQ(engine.Fini(), 0);
}

TEST_F(EngineStateTest, FiniGivesTheNetworkLibrarysResult) {
    init();
    EXPECT_EQ(engine.Fini(), 42);
    EXPECT_EQ(engine.eventMessage, eventMessage);
}

TEST_F(EngineStateTest, AChangedDeviceListIsPostedForCode1Alone) {
    init();
    asked.devicesChanged(0);
    asked.devicesChanged(2);
    EXPECT_TRUE(deviceWindow.messages().empty());
    asked.devicesChanged(1);
    ASSERT_EQ(deviceWindow.messages().size(), 1u);
    EXPECT_EQ(deviceWindow.messages()[0].message, deviceMessage);
    arguments.deviceWindow = nullptr;
    init();
    asked.devicesChanged(1);
    EXPECT_EQ(deviceWindow.messages().size(), 1u);
}

TEST_F(EngineStateTest, AChangedCameraListIsPostedFromInitToFini) {
    init();
    ASSERT_NE(library.listChanged, nullptr);
    library.listChanged(nullptr);
    ASSERT_EQ(deviceWindow.messages().size(), 1u);
    EXPECT_EQ(deviceWindow.messages()[0].message, deviceMessage);
    EXPECT_EQ(deviceWindow.messages()[0].wparam, 1u);
    engine.Fini();
    EXPECT_EQ(library.listChanged, nullptr);
    arguments.deviceWindow = nullptr;
    init();
    EXPECT_EQ(library.listChanged, nullptr) << "nobody to tell";
    scriptCameraLibrary("Test_Watch");
    arguments.deviceWindow = deviceWindow.native();
    init();
    EXPECT_EQ(engine.Fini(), 42) << "a library without a watch";
}

TEST_F(EngineStateTest, CameraNamesAreMadeOfPrefixAndUnderscore) {
    init();
    EXPECT_EQ(engine.camera.Open, &FakeCameraLibrary::Open);
    EXPECT_EQ(engine.camera.EnumV2, &FakeCameraLibrary::EnumV2);
    EXPECT_NE(engine.camera.calc_ClarityFactor, nullptr);
    EXPECT_NE(engine.camera.InitOcl, nullptr);
    arguments.prefix = "Other";
    init();
    EXPECT_EQ(engine.camera.Open, nullptr);
    arguments.prefix = nullptr;
    init();
    EXPECT_EQ(engine.camera.Open, nullptr);
}

TEST_F(EngineStateTest, LibrariesAreLoadedInOrder) {
    addSystemModules();
    arguments.direct2d = 1;
    init();
    EXPECT_EQ(loads(),
              (std::vector<std::u16string>{u"camera.so", u"network.so", u"ntdll.dll", u"wmvcore.dll", u"Kernel32.dll",
                                           u"Mfplat.dll", u"Mfreadwrite.dll", u"dxgi.dll", u"d3d11.dll",
                                           u"libvexcap-i18n.so.1", u"Kernel32.dll", u"d2d1.dll", u"dwrite.dll"}));
    EXPECT_EQ(foundationBindings(), 8);
    const PlatformBindings& b = engine.libraries;
    for (void* f : {b.WMCreateProfileManager, b.WMCreateWriter, b.WMCreateWriterNetworkSink, b.WMCreateWriterFileSink,
                    b.WMCreateReader, b.MFCreateSinkWriterFromURL, b.CreateDXGIFactory1, b.D3D11CreateDevice})
        EXPECT_NE(f, nullptr);
}

TEST_F(EngineStateTest, TheRealVersionDecidesWindows10) {
    const struct {
        void* function;
        uint32_t expected;
    } cases[] = {{symbolOf(&rtlGetVersion), 1}, {symbolOf(&rtlGetOldVersion), 0}, {symbolOf(&rtlFails), 0}};
    for (const auto& c : cases) {
        fakes.loader.add(u"ntdll.dll", {{"RtlGetVersion", c.function}});
        init();
        EXPECT_EQ(engine.libraries.windows10, c.expected);
    }
    fakes.loader.hide(u"ntdll.dll");
    init();
    EXPECT_EQ(engine.libraries.windows10, 0u);
}

TEST_F(EngineStateTest, OnVersion61NoFoundationBindingIsMadeEvenIfTheFileExists) {
    addSystemModules();
    fakes.system.version = {6, 1};
    init();
    EXPECT_FALSE(wasLoaded(u"Mfplat.dll"));
    EXPECT_EQ(foundationBindings(), 0);
    fakes.system.version = {6, 2};
    init();
    EXPECT_EQ(foundationBindings(), 8);
    fakes.system.version = {5, 9};
    init();
    EXPECT_EQ(foundationBindings(), 0);
}

TEST_F(EngineStateTest, WithoutTheSinkWriterAllFoundationBindingsAreNullAgain) {
    addSystemModules();
    fakes.loader.hide(u"Mfreadwrite.dll");
    init();
    EXPECT_EQ(foundationBindings(), 0);
    EXPECT_EQ(fakes.loader.loaded(u"Mfplat.dll"), 0);
    EXPECT_FALSE(wasLoaded(u"dxgi.dll"));
}

TEST_F(EngineStateTest, WithoutTheTickFunctionThereIsNoFoundation) {
    addSystemModules();
    fakes.loader.hide(u"Kernel32.dll");
    init();
    EXPECT_FALSE(wasLoaded(u"Mfplat.dll"));
    EXPECT_FALSE(wasLoaded(u"dxgi.dll"));
}

TEST_F(EngineStateTest, OptionalFoundationNamesMayBeMissingAlone) {
    addSystemModules();
    fakes.loader.add(u"Mfplat.dll", all({"MFStartup", "MFCreateMediaType", "MFCreateMemoryBuffer", "MFCreateSample",
                                         "MFCreateAttributes", "MFTEnumEx"}));
    init();
    EXPECT_EQ(foundationBindings(), 6);
    EXPECT_FALSE(wasLoaded(u"dxgi.dll"));
}

TEST_F(EngineStateTest, WithoutTheAdapterListNoGraphicsDeviceIsBound) {
    addSystemModules();
    fakes.loader.hide(u"dxgi.dll");
    init();
    EXPECT_FALSE(wasLoaded(u"d3d11.dll"));
    EXPECT_EQ(engine.libraries.D3D11CreateDevice, nullptr);
}

TEST_F(EngineStateTest, WithoutTheWishForAcceleratedDrawingInitOclIsNotCalled) {
    addSystemModules();
    init();
    EXPECT_EQ(library.initOclCalls, 0);
    EXPECT_EQ(engine.d2dAvailable, 0u);
    EXPECT_EQ(engine.libraries.d2dFactory, nullptr);
}

TEST_F(EngineStateTest, InitOclReturningNonZeroLeavesBothFactoriesNull) {
    addSystemModules();
    fakes.textures.available = true;
    arguments.direct2d = 1;
    library.initOclAnswer = 5;
    init();
    EXPECT_EQ(library.initOclCalls, 1);
    EXPECT_EQ(engine.d2dAvailable, 0u);
    EXPECT_EQ(engine.libraries.d2dFactory, nullptr);
    EXPECT_EQ(engine.libraries.dwriteFactory, nullptr);
    EXPECT_EQ(asked.drawingFactories, 0);
}

TEST_F(EngineStateTest, AcceleratedDrawingNeedsATargetOfThePlatformToo) {
    arguments.direct2d = 1;
    fakes.textures.available = false;
    init();
    EXPECT_EQ(library.initOclCalls, 1);
    EXPECT_EQ(engine.d2dAvailable, 0u);
    fakes.textures.available = true;
    init();
    EXPECT_EQ(engine.d2dAvailable, 1u);
}

TEST_F(EngineStateTest, BothFactoriesAreMadeAndReleasedAtTheEnd) {
    addSystemModules();
    arguments.direct2d = 1;
    init();
    EXPECT_EQ(engine.libraries.d2dFactory, &drawing);
    EXPECT_EQ(engine.libraries.dwriteFactory, &text);
    engine.Fini();
    EXPECT_EQ(drawing.references, 0u);
    EXPECT_EQ(text.references, 0u);
    EXPECT_EQ(engine.libraries.d2dFactory, nullptr);
    EXPECT_EQ(engine.libraries.dwriteFactory, nullptr);
}

TEST_F(EngineStateTest, WithoutATextFactoryTheDrawingFactoryEndsNullAndIsNotReleased) {
    addSystemModules();
    arguments.direct2d = 1;
    textFactoryFails = true;
    init();
    EXPECT_EQ(asked.drawingFactories, 1);
    EXPECT_EQ(asked.textFactories, 1);
    EXPECT_EQ(engine.libraries.d2dFactory, nullptr);
    EXPECT_EQ(drawing.references, 1u);
}

TEST_F(EngineStateTest, AMissingStepOfTheDrawingChainEndsIt) {
    arguments.direct2d = 1;
    for (const auto* missing : {u"Kernel32.dll", u"d2d1.dll", u"dwrite.dll"}) {
        addSystemModules();
        fakes.loader.hide(missing);
        init();
        EXPECT_EQ(engine.libraries.d2dFactory, nullptr);
        EXPECT_EQ(engine.libraries.dwriteFactory, nullptr);
    }
}

TEST_F(EngineStateTest, TheSettingsKeyLiesUnderCompanyAndProduct) {
    init();
    ASSERT_NE(engine.rootKey, nullptr);
    EXPECT_EQ(fakes.settings.opened.back().path, u"SOFTWARE\\Company\\Product\\vexcap");
}

TEST_F(EngineStateTest, AFailedSettingsKeyIsNullAndNotReported) {
    fakes.settings.failure = E_ACCESSDENIED;
    init();
    EXPECT_EQ(engine.rootKey, nullptr);
    fakes.settings.failure = S_OK;
    arguments.root = nullptr;
    init();
    EXPECT_EQ(engine.rootKey, nullptr);
    EXPECT_TRUE(fakes.messageBox.shown.empty());
}

TEST_F(EngineStateTest, SettingsArePorts) {
    arguments.astroMode = 0;
    init();
    const SettingsPorts outside = engine.Settings();
    EXPECT_EQ(outside.key, engine.rootKey.get());
    EXPECT_EQ(&outside.clock, &fakes.clock);
    EXPECT_EQ(&outside.folders, &fakes.folders);
    EXPECT_EQ(&outside.encoders, &fakes.encoders);
    EXPECT_EQ(&outside.media, &fakes.media);
    EXPECT_EQ(outside.productName, u"Product");
    EXPECT_FALSE(outside.astroMode);
    EXPECT_FALSE(outside.remembersEncoder) << "nothing here writes with an encoder";
    arguments.astroMode = 1;
    init();
    engine.libraries.MFCreateSinkWriterFromURL = this;
    EXPECT_TRUE(engine.Settings().astroMode);
    EXPECT_TRUE(engine.Settings().remembersEncoder);
}

TEST_F(EngineStateTest, NullTextsAreEmptyTexts) {
    arguments = {};
    engine.Init(arguments);
    EXPECT_EQ(engine.camera.Open, nullptr);
    EXPECT_EQ(engine.productName, u"");
}

TEST_F(EngineStateTest, TheFrameRateIsClamped) {
    init();
    engine.SetFrameRate(100, 5);
    EXPECT_EQ(engine.frameRateCap, 63u);
    EXPECT_EQ(engine.frameRatePercent, 10u);
    engine.SetFrameRate(0, 500);
    EXPECT_EQ(engine.frameRateCap, 0u);
    EXPECT_EQ(engine.frameRatePercent, 200u);
}

TEST_F(EngineStateTest, ATextIsItsKeyWithoutAStringLibraryThatKnowsIt) {
    init();
    EXPECT_EQ(engine.Text("ids_nosource"), u"ids_nosource");
    fakes.loader.add(u"libvexcap-i18n.so.1", {{"i18n_string", symbolOf(&germanText)}});
    init();
    EXPECT_EQ(engine.Text("ids_nosource"), u"Keine Quelle");
    EXPECT_EQ(engine.Text("ids_other"), u"ids_other");
    fakes.loader.hide(u"libvexcap-i18n.so.1");
    init();
}

}  // namespace engine_state_test
}  // namespace vexcap
