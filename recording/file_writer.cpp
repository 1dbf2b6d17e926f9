#include "recording/file_writer.h"

namespace vexcap {

class CFileWriter::InputPin final : public CBaseInputPin, public IFileTarget {
public:
    explicit InputPin(CFileWriter& owner) : CBaseInputPin(owner, u"in"), writer(owner) {}

    HRESULT QueryInterface(const vex_guid& id, void** out) override { return CBasePin::QueryInterface(id, out); }
    uint32_t AddRef() override { return CBasePin::AddRef(); }
    uint32_t Release() override { return CBasePin::Release(); }
    Result<FilePlace> Place() override { return writer.Place(); }

    HRESULT CheckMediaType(const MediaType* candidate) override {
        if (!candidate) return E_POINTER;
        const bool avi = candidate->major == MEDIATYPE_Stream && candidate->subtype == MEDIASUBTYPE_Avi;
        return avi ? S_OK : VFW_E_TYPE_NOT_ACCEPTED;
    }
    HRESULT Receive(CMediaSample&) override { return E_UNEXPECTED; }  // the file is written past this pin
    HRESULT EndOfStream() override { return writer.NotifyEvent(EC_COMPLETE, S_OK, 0); }
    HRESULT Inactive() override { return S_OK; }  // no pool was agreed on

private:
    HRESULT NonDelegatingQueryInterface(const vex_guid& id, void** out) override {
        if (!(id == IFileTarget::iid)) return CBaseInputPin::NonDelegatingQueryInterface(id, out);
        AddRef();
        *out = static_cast<IFileTarget*>(this);
        return S_OK;
    }

    CFileWriter& writer;
};

CFileWriter::CFileWriter(IFileSystem& fileSystem) : files(fileSystem), pin(std::make_unique<InputPin>(*this)) {}

CFileWriter::~CFileWriter() = default;

CBasePin* CFileWriter::GetPin(size_t index) { return index == 0 ? pin.get() : nullptr; }

CBaseInputPin& CFileWriter::Input() { return *pin; }

HRESULT CFileWriter::NonDelegatingQueryInterface(const vex_guid& id, void** out) {
    if (id == IFileSinkFilter2::iid) return give(static_cast<IFileSinkFilter2*>(this), out);
    if (id == IAMFilterMiscFlags::iid) return give(static_cast<IAMFilterMiscFlags*>(this), out);
    return CBaseFilter::NonDelegatingQueryInterface(id, out);
}

HRESULT CFileWriter::SetFileName(std::u16string_view path) {
    if (path.empty()) return E_INVALIDARG;
    const RecursiveMutexGuard guard(interfaceLock);
    if (!IsStopped()) return VFW_E_NOT_STOPPED;
    fileName = path;
    return S_OK;
}

HRESULT CFileWriter::GetCurFile(std::u16string* path) {
    if (!path) return E_POINTER;
    const RecursiveMutexGuard guard(interfaceLock);
    *path = fileName;
    return fileName.empty() ? S_FALSE : S_OK;
}

HRESULT CFileWriter::SetMode(uint32_t flags) {
    if ((flags & ~overwrite) != 0) return E_INVALIDARG;
    const RecursiveMutexGuard guard(interfaceLock);
    if (!IsStopped()) return VFW_E_NOT_STOPPED;
    mode = flags;
    return S_OK;
}

HRESULT CFileWriter::GetMode(uint32_t* flags) {
    if (!flags) return E_POINTER;
    const RecursiveMutexGuard guard(interfaceLock);
    *flags = mode;
    return S_OK;
}

Result<FilePlace> CFileWriter::Place() {
    const RecursiveMutexGuard guard(interfaceLock);
    if (fileName.empty()) return E_UNEXPECTED;
    if ((mode & overwrite) == 0) {
        const auto existing = files.Open(fileName);
        if (existing.ok()) return VEX_E_FILE_EXISTS;
        if (existing.code() != VEX_E_FILE_NOT_FOUND) return existing.status();
    }
    return FilePlace{&files, fileName};
}

}  // namespace vexcap
