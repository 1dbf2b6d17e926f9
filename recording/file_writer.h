// The file at the end of a graph that records.
#pragma once

#include <string>
#include <string_view>

#include "base/codes.h"
#include "graph/base_filter.h"
#include "platform/file.h"

namespace vexcap {

/// Where a multiplexer makes its file. The file system outlives the graph.
struct FilePlace {
    IFileSystem* files = nullptr;
    std::u16string path;
};

/// Offered by the input pin of a file writer. The multiplexer that is connected with it writes the file itself: what a
/// file begins with is known at its end.
struct IFileTarget : IVexUnknown {
    static constexpr vex_guid iid = {0x2B0D7F51, 0x6C1E, 0x4E0B, {0x9A, 0x5D, 0x71, 0xC8, 0x3E, 0x60, 0x14, 0xA2}};
    /// Host's thread, when the graph leaves the stopped state. E_UNEXPECTED before a name was set; VEX_E_FILE_EXISTS
    /// where an existing file may not be replaced; the file system's code.
    virtual Result<FilePlace> Place() = 0;

protected:
    ~IFileTarget() = default;
};

/// One input pin for a stream of AVI bytes. Tells the graph when the stream has ended. Host's thread, but for the end
/// of the stream.
class CFileWriter final : public CBaseFilter, public IFileSinkFilter2, public IAMFilterMiscFlags {
public:
    explicit CFileWriter(IFileSystem& fileSystem);

    size_t GetPinCount() override { return 1; }
    CBasePin* GetPin(size_t index) override;
    CBaseInputPin& Input();

    HRESULT QueryInterface(const vex_guid& id, void** out) override { return CUnknown::QueryInterface(id, out); }
    uint32_t AddRef() override { return CUnknown::AddRef(); }
    uint32_t Release() override { return CUnknown::Release(); }
    /// E_INVALIDARG for an empty name, VFW_E_NOT_STOPPED.
    HRESULT SetFileName(std::u16string_view path) override;
    /// S_FALSE and an empty text before a name was set.
    HRESULT GetCurFile(std::u16string* path) override;
    /// E_INVALIDARG for a flag that does not exist, VFW_E_NOT_STOPPED.
    HRESULT SetMode(uint32_t flags) override;
    HRESULT GetMode(uint32_t* flags) override;
    uint32_t GetMiscFlags() override { return isRenderer; }

private:
    class InputPin;
    ~CFileWriter() override;
    HRESULT NonDelegatingQueryInterface(const vex_guid& id, void** out) override;
    Result<FilePlace> Place() VEX_EXCLUDES(interfaceLock);

    IFileSystem& files;
    const std::unique_ptr<InputPin> pin;
    std::u16string fileName VEX_GUARDED_BY(interfaceLock);
    uint32_t mode VEX_GUARDED_BY(interfaceLock) = 0;
};

}  // namespace vexcap
