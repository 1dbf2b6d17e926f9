// The roads that go through the media graph: video input devices and media files.
#pragma once

#include "engine/road.h"

namespace vexcap {

/// What both have in common: the graph ends in a CVexcapRender, which is the preview sink.
class GraphRoad : public Road {
public:
    using Road::Road;
    void CloseSource() override {}  // a graph lives as long as what is built on it
    bool HasSource() const override { return state.graph.filterGraph != nullptr; }
    Status ConnectPreviewSink() override;
    Status Run() override;
    Status Halt() override;
    bool ChangeState(uint32_t from, uint32_t to) override;
    Status FinalSize(uint32_t& width, uint32_t& height) override;
    Status FrameRate(uint32_t& frames, uint32_t& milliseconds, uint32_t& total) override;
    void* Handle() override { return nullptr; }

    // Frames of the graph have no raw form.
    Status StartRawFrames(void*) override { return E_NOINTERFACE; }
    Status RawFormat(uint32_t& fourcc, uint32_t& depth) override;
    void StopRawFrames() override {}
    void TellRecordingState(bool) override {}
    void RefreshSinkOptions() override {}

protected:
    /// Adds a renderer under a name; null when that failed.
    Ref<CVexcapRender> AddRenderer(std::u16string_view name);
    /// Shows a failure of the source in a box, lets the graph go, and gives the code.
    Status Failed(const char* key, HRESULT code);
    /// The key of the box that tells of a graph that will not run.
    virtual const char* StartFailureKey() const = 0;
};

/// A video input device of the system.
class DeviceRoad final : public GraphRoad {
public:
    using GraphRoad::GraphRoad;
    Status OpenSource() override;
    Status CreatePreviewSink() override;
    Status ConnectPreviewSink() override;
    void BuildStillPath() override;
    uint32_t LargestFrameRate() override;
    int32_t Capabilities(std::vector<vex_capability>& out) override;
    int32_t StillCapabilities(std::vector<vex_capability>& out) override;
    uint32_t StillCount() override;
    Status TakeStill(void* value) override;
    bool SizeIsSet(uint32_t size) override;
    void SetSize(uint32_t size, bool still) override;

private:
    bool BuildStillGraph();
    const char* StartFailureKey() const override { return "ids_previewfail"; }
};

/// A media file.
class FileRoad final : public GraphRoad {
public:
    using GraphRoad::GraphRoad;
    Status OpenSource() override;
    Status CreatePreviewSink() override { return S_OK; }  // it came with the source: the file was rendered into it
    Status ConnectPreviewSink() override;
    void BuildStillPath() override {}
    uint32_t LargestFrameRate() override { return rateOfInterval(0); }
    int32_t Capabilities(std::vector<vex_capability>&) override { return 0; }
    int32_t StillCapabilities(std::vector<vex_capability>&) override { return 0; }
    void SetPosition(int64_t position) override;
    int64_t Position() override;

private:
    const char* StartFailureKey() const override { return "ids_startfail"; }
};

}  // namespace vexcap
