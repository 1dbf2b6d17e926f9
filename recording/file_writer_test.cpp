#include "recording/file_writer.h"

#include <gtest/gtest.h>

#include "graph/testing/graphs.h"
#include "graph/testing/kept_samples.h"
#include "graph/testing/sent_samples.h"
#include "platform/fake/fake_disk.h"
#include "recording/avi_mux.h"

namespace vexcap {
namespace file_writer_test {

constexpr uint32_t width = 6, height = 4;

struct WriterRig {
    WriterRig() {
        made.graph.AddFilter(source, u"source");
        made.graph.AddFilter(mux, u"mux");
        made.graph.AddFilter(writer, u"writer");
    }
    HRESULT connect() {
        const HRESULT result = made.graph.ConnectDirect(source->Output(), mux->Input());
        return result < 0 ? result : made.graph.ConnectDirect(mux->Output(), writer->Input());
    }
    FakeDisk disk;
    Ref<test::SentStream> source = makeRef<test::SentStream>(rgb24Type(width, height, 400'000));
    Ref<CAviMux> mux = makeRef<CAviMux>();
    Ref<CFileWriter> writer = makeRef<CFileWriter>(disk);
    test::BareGraph made;
};

TEST(FileWriter, AnswersForItsInterfacesAndNoOther) {
    FakeDisk disk;
    const auto writer = makeRef<CFileWriter>(disk);
    EXPECT_TRUE(queryInterface<IFileSinkFilter2>(writer));
    const auto flags = queryInterface<IAMFilterMiscFlags>(writer);
    ASSERT_TRUE(flags);
    EXPECT_EQ(flags->GetMiscFlags(), 1u);
    EXPECT_FALSE(queryInterface<IMediaSeeking>(writer));
    EXPECT_TRUE(queryInterface<IFileTarget>(&writer->Input()));
    EXPECT_FALSE(queryInterface<IFileSinkFilter2>(&writer->Input()));
    EXPECT_EQ(writer->GetPin(0), &writer->Input());
    EXPECT_EQ(writer->GetPin(1), nullptr);
}

TEST(FileWriter, KeepsNameAndMode) {
    FakeDisk disk;
    const auto writer = makeRef<CFileWriter>(disk);
    std::u16string name = u"?";
    uint32_t mode = 7;
    EXPECT_EQ(writer->GetCurFile(&name), S_FALSE);
    EXPECT_EQ(name, u"");
    EXPECT_EQ(writer->GetMode(&mode), S_OK);
    EXPECT_EQ(mode, 0u);
    EXPECT_EQ(writer->SetFileName(u""), E_INVALIDARG);
    EXPECT_EQ(writer->SetFileName(u"mars.avi"), S_OK);
    EXPECT_EQ(writer->GetCurFile(&name), S_OK);
    EXPECT_EQ(name, u"mars.avi");
    EXPECT_EQ(writer->SetMode(2), E_INVALIDARG);
    EXPECT_EQ(writer->SetMode(3), E_INVALIDARG);
    EXPECT_EQ(writer->SetMode(IFileSinkFilter2::overwrite), S_OK);
    EXPECT_EQ(writer->GetMode(&mode), S_OK);
    EXPECT_EQ(mode, 1u);
    EXPECT_EQ(writer->GetCurFile(nullptr), E_POINTER);
    EXPECT_EQ(writer->GetMode(nullptr), E_POINTER);
    EXPECT_EQ(disk.operations().size(), 0u) << "nothing is made before the graph begins";
}

TEST(FileWriter, TakesNothingButAStreamOfAviBytes) {
    FakeDisk disk;
    const auto writer = makeRef<CFileWriter>(disk);
    MediaType type;
    type.major = MEDIATYPE_Stream;
    type.subtype = MEDIASUBTYPE_Avi;
    EXPECT_EQ(writer->Input().CheckMediaType(&type), S_OK);
    type.subtype = MEDIASUBTYPE_RGB24;
    EXPECT_EQ(writer->Input().CheckMediaType(&type), VFW_E_TYPE_NOT_ACCEPTED);
    const MediaType video = rgb24Type(width, height, 0);
    EXPECT_EQ(writer->Input().CheckMediaType(&video), VFW_E_TYPE_NOT_ACCEPTED);
    EXPECT_EQ(writer->Input().CheckMediaType(nullptr), E_POINTER);
}

TEST(FileWriter, WithoutANameTheGraphDoesNotBegin) {
    WriterRig rig;
    ASSERT_EQ(rig.connect(), S_OK);
    EXPECT_EQ(rig.made.graph.Run(), E_UNEXPECTED);
    EXPECT_TRUE(rig.mux->IsStopped());
    EXPECT_TRUE(rig.writer->IsStopped());
}

TEST(FileWriter, AnExistingFileStopsTheGraphFromBeginningAndIsNotTouched) {
    WriterRig rig;
    ASSERT_EQ(rig.connect(), S_OK);
    const std::vector<uint8_t> old = {1, 2, 3};
    rig.disk.put(u"out.avi", old);
    rig.writer->SetFileName(u"out.avi");
    EXPECT_EQ(rig.made.graph.Pause(), VEX_E_FILE_EXISTS);
    EXPECT_EQ(rig.disk.bytes(u"out.avi"), old);
    EXPECT_EQ(rig.disk.count(DiskOperation::Kind::Write), 0u);
    EXPECT_TRUE(rig.mux->IsStopped());
    // Nothing stands in the way of another name.
    ASSERT_EQ(rig.writer->SetFileName(u"other.avi"), S_OK);
    EXPECT_EQ(rig.made.graph.Pause(), S_OK);
    EXPECT_TRUE(rig.disk.exists(u"other.avi"));
}

TEST(FileWriter, AnExistingFileIsReplacedInOverwriteMode) {
    WriterRig rig;
    ASSERT_EQ(rig.connect(), S_OK);
    rig.disk.put(u"out.avi", std::vector<uint8_t>(100'000, 7));
    rig.writer->SetFileName(u"out.avi");
    rig.writer->SetMode(IFileSinkFilter2::overwrite);
    ASSERT_EQ(rig.made.graph.Run(), S_OK);
    EXPECT_EQ(rig.made.graph.Stop(), S_OK);
    const std::vector<uint8_t> bytes = rig.disk.bytes(u"out.avi");
    EXPECT_EQ(bytes.size(), AviFile::headerBytes + 8) << "header and an index of nothing";
    EXPECT_EQ(std::string(bytes.begin(), bytes.begin() + 4), "RIFF");
}

TEST(FileWriter, AFileThatCannotBeLookedAtIsNotTakenForMissing) {
    WriterRig rig;
    ASSERT_EQ(rig.connect(), S_OK);
    rig.writer->SetFileName(u"out.avi");
    rig.disk.fail(DiskOperation::Kind::Open, E_ACCESSDENIED);
    EXPECT_EQ(rig.made.graph.Run(), E_ACCESSDENIED);
    EXPECT_FALSE(rig.disk.exists(u"out.avi"));
}

TEST(FileWriter, NameAndModeStandWhileTheGraphRuns) {
    WriterRig rig;
    ASSERT_EQ(rig.connect(), S_OK);
    rig.writer->SetFileName(u"out.avi");
    ASSERT_EQ(rig.made.graph.Pause(), S_OK);
    EXPECT_EQ(rig.writer->SetFileName(u"other.avi"), VFW_E_NOT_STOPPED);
    EXPECT_EQ(rig.writer->SetMode(1), VFW_E_NOT_STOPPED);
    ASSERT_EQ(rig.made.graph.Stop(), S_OK);
    EXPECT_EQ(rig.writer->SetFileName(u"other.avi"), S_OK);
}

TEST(FileWriter, IsReachedThroughAMultiplexerAndByNoSample) {
    WriterRig rig;
    const auto plain = makeRef<test::KeptStream>();
    rig.made.graph.AddFilter(plain, u"plain");
    EXPECT_EQ(rig.made.graph.ConnectDirect(rig.mux->Output(), plain->Input()), E_NOINTERFACE)
        << "a multiplexer needs a pin that tells where the file is";
    const auto bytes = makeRef<test::SentStream>([] {
        MediaType type;
        type.major = MEDIATYPE_Stream;
        type.subtype = MEDIASUBTYPE_Avi;
        return type;
    }());
    rig.made.graph.AddFilter(bytes, u"bytes");
    ASSERT_EQ(rig.made.graph.ConnectDirect(bytes->Output(), rig.writer->Input()), S_OK);
    ASSERT_EQ(rig.made.graph.Run(), S_OK);
    EXPECT_EQ(bytes->send(std::vector<std::byte>(10)), E_UNEXPECTED);
    EXPECT_EQ(rig.made.graph.Stop(), S_OK);
    EXPECT_EQ(rig.disk.operations().size(), 0u);
}

}  // namespace file_writer_test
}  // namespace vexcap
