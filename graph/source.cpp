// Sources: a filter whose pins have a thread that makes or hands on samples.
#include "graph/source.h"

namespace vexcap {

CBasePin* CSource::GetPin(size_t index) { return index < pins.size() ? pins[index] : nullptr; }

CSourceStream::CSourceStream(CSource& owner, std::u16string_view pinName) : CBaseOutputPin(owner, pinName) {
    owner.pins.push_back(this);
}

HRESULT CSourceStream::Active() {
    RecursiveMutexGuard held(filter.interfaceLock);
    if (!IsConnected()) return S_OK;
    HRESULT result = CBaseOutputPin::Active();
    if (result < 0) return result;
    if (!Create()) return E_FAIL;
    result = CallWorker(CMD_INIT);
    if (result >= 0) return CallWorker(CMD_PAUSE);
    Close();  // a thread that could not be made ready ends by itself
    return result;
}

HRESULT CSourceStream::Inactive() {
    RecursiveMutexGuard held(filter.interfaceLock);
    if (!IsConnected()) return S_OK;
    // First the pool: it is what the worker may wait for.
    HRESULT result = CBaseOutputPin::Inactive();
    if (!ThreadExists()) return result;
    // A thread that is gone already fails these, and is closed all the same.
    for (const Command command : {CMD_STOP, CMD_EXIT})
        if (const HRESULT answer = CallWorker(command); answer < 0 && result >= 0) result = answer;
    Close();
    return result;
}

HRESULT CSourceStream::ThreadProc() {
    while (GetRequest() != CMD_INIT) Reply(E_UNEXPECTED);
    if (const HRESULT made = OnThreadCreate(); made < 0) {
        OnThreadDestroy();
        Reply(made);
        return made;
    }
    Reply(S_OK);
    for (;;) {
        switch (GetRequest()) {
            case CMD_PAUSE:
            case CMD_RUN:
                Reply(S_OK);
                DoBufferProcessingLoop();
                break;
            case CMD_STOP:
                Reply(S_OK);
                break;
            case CMD_EXIT:
                Reply(S_OK);
                return OnThreadDestroy();
            default:
                Reply(E_NOTIMPL);
        }
    }
}

}  // namespace vexcap
