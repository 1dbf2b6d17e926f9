#include "platform/fake/fake_disk.h"

#include <algorithm>
#include <cstring>

namespace vexcap {
namespace {

using Kind = DiskOperation::Kind;

/// Positions end where those of a real file do.
constexpr uint64_t positionLimit = INT64_MAX;

struct Node {
    std::vector<uint8_t> bytes;
    uint64_t reservedEnd = 0;
    bool beingWritten = false;
};

struct WriteFailure {
    HRESULT code;
    size_t kept;
};

Status checkedPath(std::u16string_view path, Status whenEmpty) {
    if (path.find(u'\0') != path.npos) return E_INVALIDARG;
    return path.empty() ? whenEmpty : Status(S_OK);
}

bool outOfRange(uint64_t position, uint64_t length) {
    return position > positionLimit || length > positionLimit - position;
}

}  // namespace

struct FakeDisk::State {
    mutable Mutex lock;
    std::map<std::u16string, std::shared_ptr<Node>, std::less<>> nodes VEX_GUARDED_BY(lock);
    std::vector<DiskOperation> operations VEX_GUARDED_BY(lock);
    std::map<uint64_t, WriteFailure> writeFailures VEX_GUARDED_BY(lock);
    std::map<Kind, HRESULT> failures VEX_GUARDED_BY(lock);
    uint64_t capacity VEX_GUARDED_BY(lock) = uint64_t(1) << 30;
    uint64_t writes VEX_GUARDED_BY(lock) = 0;

    Status Note(DiskOperation operation, Status result) VEX_REQUIRES(lock) {
        operation.result = result.code();
        operations.push_back(std::move(operation));
        return result;
    }

    Status Scripted(Kind kind) const VEX_REQUIRES(lock) {
        const auto found = failures.find(kind);
        return found == failures.end() ? Status(S_OK) : Status(found->second);
    }

    /// Room that `node` may have, reserved space included.
    uint64_t RoomFor(const Node& node) const VEX_REQUIRES(lock) {
        uint64_t others = 0;
        for (const auto& [path, other] : nodes)
            if (other.get() != &node) others += std::max<uint64_t>(other->bytes.size(), other->reservedEnd);
        return capacity > others ? capacity - others : 0;
    }

    /// Writes as many bytes as fit.
    Status WriteOne(Node& node, uint64_t position, Bytes bytes) VEX_REQUIRES(lock) {
        const uint64_t room = RoomFor(node);
        const size_t fitting = size_t(room > position ? std::min<uint64_t>(bytes.size(), room - position) : 0);
        if (fitting) {
            if (node.bytes.size() < position + fitting) node.bytes.resize(size_t(position) + fitting);
            std::memcpy(node.bytes.data() + position, bytes.data(), fitting);
        }
        return fitting == bytes.size() ? S_OK : VEX_E_DISK_FULL;
    }
};

namespace {

class FakeFile final : public IFile {
public:
    FakeFile(std::shared_ptr<FakeDisk::State> disk, std::shared_ptr<Node> content, std::u16string_view name,
             bool mayWrite)
        : state(std::move(disk)), node(std::move(content)), path(name), writable(mayWrite) {}

    ~FakeFile() override {
        MutexGuard guard(state->lock);
        if (writable) node->beingWritten = false;
        state->Note({.kind = Kind::Close, .path = path}, S_OK).ignore();
    }

    Status WriteAt(uint64_t position, Bytes bytes) override { return WriteGathered(position, {&bytes, 1}); }

    Status WriteGathered(uint64_t position, std::span<const Bytes> pieces) override {
        MutexGuard guard(state->lock);
        uint64_t total = 0;
        for (const Bytes piece : pieces) total += piece.size();
        return state->Note(
            {.kind = Kind::Write, .path = path, .position = position, .size = total, .pieces = pieces.size()},
            Write(position, total, pieces));
    }

    Result<size_t> ReadAt(uint64_t position, std::span<std::byte> bytes) override {
        MutexGuard guard(state->lock);
        Status s = state->Scripted(Kind::Read);
        if (s.ok() && outOfRange(position, bytes.size())) s = E_INVALIDARG;
        s = state->Note({.kind = Kind::Read, .path = path, .position = position, .size = bytes.size()}, s);
        if (!s.ok()) return s;
        const uint64_t end = node->bytes.size();
        const size_t count = size_t(position < end ? std::min<uint64_t>(bytes.size(), end - position) : 0);
        if (count) std::memcpy(bytes.data(), node->bytes.data() + position, count);
        return count;
    }

    Status Reserve(uint64_t position, uint64_t length) override {
        MutexGuard guard(state->lock);
        Status s = state->Scripted(Kind::Reserve);
        if (s.ok()) s = Check(position, length);
        if (s.ok() && !length) s = E_INVALIDARG;
        if (s.ok() && position + length > state->RoomFor(*node)) s = VEX_E_DISK_FULL;
        if (s.ok()) node->reservedEnd = std::max(node->reservedEnd, position + length);
        return state->Note({.kind = Kind::Reserve, .path = path, .position = position, .size = length}, s);
    }

    Status Resize(uint64_t size) override {
        MutexGuard guard(state->lock);
        Status s = state->Scripted(Kind::Resize);
        if (s.ok()) s = Check(size, 0);
        if (s.ok() && size > node->bytes.size() && size > state->RoomFor(*node)) s = VEX_E_DISK_FULL;
        if (s.ok()) {
            node->bytes.resize(size_t(size));
            node->reservedEnd = 0;
        }
        return state->Note({.kind = Kind::Resize, .path = path, .size = size}, s);
    }

    Result<uint64_t> Size() override {
        MutexGuard guard(state->lock);
        return uint64_t(node->bytes.size());
    }

private:
    Status Check(uint64_t position, uint64_t length) const {
        if (!writable) return E_ACCESSDENIED;
        return outOfRange(position, length) ? E_INVALIDARG : S_OK;
    }

    Status Write(uint64_t position, uint64_t total, std::span<const Bytes> pieces) VEX_REQUIRES(state->lock) {
        Status result = Check(position, total);
        if (!result.ok()) return result;
        result = state->Scripted(Kind::Write);
        if (!result.ok()) return result;

        uint64_t left = total;
        if (const auto failure = state->writeFailures.find(state->writes++); failure != state->writeFailures.end()) {
            result = failure->second.code;
            left = std::min<uint64_t>(left, failure->second.kept);
        }
        for (Bytes piece : pieces) {
            piece = piece.first(size_t(std::min<uint64_t>(piece.size(), left)));
            if (Status s = state->WriteOne(*node, position, piece); !s.ok()) return s;
            position += piece.size();
            left -= piece.size();
        }
        return result;
    }

    const std::shared_ptr<FakeDisk::State> state;
    const std::shared_ptr<Node> node;  // the content stays with whoever has it open, also when its name is gone
    const std::u16string path;
    const bool writable;
};

}  // namespace

FakeDisk::FakeDisk() : state(std::make_shared<State>()) {}

FakeDisk::~FakeDisk() = default;

Result<std::unique_ptr<IFile>> FakeDisk::Create(std::u16string_view path) {
    MutexGuard guard(state->lock);
    Status s = checkedPath(path, VEX_E_PATH_NOT_FOUND);
    if (s.ok()) s = state->Scripted(Kind::Create);
    std::shared_ptr<Node> node;
    if (s.ok()) {
        std::shared_ptr<Node>& slot = state->nodes[std::u16string(path)];
        if (!slot) slot = std::make_shared<Node>();
        if (slot->beingWritten) {
            s = VEX_E_BUSY;
        } else {
            slot->beingWritten = true;
            slot->bytes.clear();
            slot->reservedEnd = 0;
            node = slot;
        }
    }
    s = state->Note({.kind = Kind::Create, .path = std::u16string(path)}, s);
    if (!s.ok()) return s;
    return std::unique_ptr<IFile>(std::make_unique<FakeFile>(state, std::move(node), path, true));
}

Result<std::unique_ptr<IFile>> FakeDisk::Update(std::u16string_view path) {
    MutexGuard guard(state->lock);
    Status s = checkedPath(path, VEX_E_FILE_NOT_FOUND);
    if (s.ok()) s = state->Scripted(Kind::Update);
    const auto found = state->nodes.find(path);
    if (s.ok() && found == state->nodes.end()) s = VEX_E_FILE_NOT_FOUND;
    if (s.ok() && found->second->beingWritten) s = VEX_E_BUSY;
    s = state->Note({.kind = Kind::Update, .path = std::u16string(path)}, s);
    if (!s.ok()) return s;
    found->second->beingWritten = true;
    return std::unique_ptr<IFile>(std::make_unique<FakeFile>(state, found->second, path, true));
}

Result<std::unique_ptr<IFile>> FakeDisk::Open(std::u16string_view path) {
    MutexGuard guard(state->lock);
    Status s = checkedPath(path, VEX_E_FILE_NOT_FOUND);
    if (s.ok()) s = state->Scripted(Kind::Open);
    const auto found = state->nodes.find(path);
    if (s.ok() && found == state->nodes.end()) s = VEX_E_FILE_NOT_FOUND;
    s = state->Note({.kind = Kind::Open, .path = std::u16string(path)}, s);
    if (!s.ok()) return s;
    return std::unique_ptr<IFile>(std::make_unique<FakeFile>(state, found->second, path, false));
}

Status FakeDisk::Remove(std::u16string_view path) {
    MutexGuard guard(state->lock);
    Status s = checkedPath(path, VEX_E_FILE_NOT_FOUND);
    if (s.ok()) s = state->Scripted(Kind::Remove);
    const auto found = state->nodes.find(path);
    if (s.ok() && found == state->nodes.end()) s = VEX_E_FILE_NOT_FOUND;
    if (s.ok()) state->nodes.erase(found);
    return state->Note({.kind = Kind::Remove, .path = std::u16string(path)}, s);
}

void FakeDisk::failWrite(uint64_t number, HRESULT code, size_t kept) {
    MutexGuard guard(state->lock);
    state->writeFailures[number] = {code, kept};
}

void FakeDisk::fail(DiskOperation::Kind kind, HRESULT code) {
    MutexGuard guard(state->lock);
    state->failures[kind] = code;
}

void FakeDisk::setCapacity(uint64_t bytes) {
    MutexGuard guard(state->lock);
    state->capacity = bytes;
}

void FakeDisk::put(std::u16string_view path, std::vector<uint8_t> bytes) {
    MutexGuard guard(state->lock);
    auto node = std::make_shared<Node>();
    node->bytes = std::move(bytes);
    state->nodes[std::u16string(path)] = std::move(node);
}

bool FakeDisk::exists(std::u16string_view path) const {
    MutexGuard guard(state->lock);
    return state->nodes.find(path) != state->nodes.end();
}

std::vector<uint8_t> FakeDisk::bytes(std::u16string_view path) const {
    MutexGuard guard(state->lock);
    const auto found = state->nodes.find(path);
    return found == state->nodes.end() ? std::vector<uint8_t>() : found->second->bytes;
}

uint64_t FakeDisk::reservedBehind(std::u16string_view path) const {
    MutexGuard guard(state->lock);
    const auto found = state->nodes.find(path);
    if (found == state->nodes.end()) return 0;
    const uint64_t end = found->second->bytes.size();
    return found->second->reservedEnd > end ? found->second->reservedEnd - end : 0;
}

std::vector<DiskOperation> FakeDisk::operations() const {
    MutexGuard guard(state->lock);
    return state->operations;
}

size_t FakeDisk::count(DiskOperation::Kind kind) const {
    MutexGuard guard(state->lock);
    return size_t(std::count_if(state->operations.begin(), state->operations.end(),
                                [kind](const DiskOperation& operation) { return operation.kind == kind; }));
}

}  // namespace vexcap
