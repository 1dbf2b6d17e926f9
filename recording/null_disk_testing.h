// A disk that takes everything and keeps nothing: for tests of what a writer costs.
#pragma once

#include <memory>

#include "platform/file.h"

namespace vexcap {

class NullFile final : public IFile {
public:
    Status WriteAt(uint64_t, Bytes) override { return S_OK; }
    Status WriteGathered(uint64_t, std::span<const Bytes>) override { return S_OK; }
    Result<size_t> ReadAt(uint64_t, std::span<std::byte>) override { return E_NOTIMPL; }
    Status Reserve(uint64_t, uint64_t) override { return S_OK; }
    Status Resize(uint64_t) override { return S_OK; }
    Result<uint64_t> Size() override { return E_NOTIMPL; }
};

class NullDisk final : public IFileSystem {
public:
    Result<std::unique_ptr<IFile>> Create(std::u16string_view) override { return Made(); }
    Result<std::unique_ptr<IFile>> Update(std::u16string_view) override { return Made(); }
    Result<std::unique_ptr<IFile>> Open(std::u16string_view) override { return E_NOTIMPL; }
    Status Remove(std::u16string_view) override { return S_OK; }

private:
    static std::unique_ptr<IFile> Made() { return std::make_unique<NullFile>(); }
};

}  // namespace vexcap
