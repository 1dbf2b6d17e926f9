// A worker thread with a one-slot command channel.
#pragma once

#include <chrono>
#include <optional>
#include <thread>

#include "base/mutex.h"
#include "base/status.h"

namespace vexcap {

/// Derived classes give ThreadProc. Callers give one command at a time; the worker answers each with Reply. Create,
/// ThreadExists and Close are one thread's, the host's.
class CAMThread {
public:
    CAMThread(const CAMThread&) = delete;
    CAMThread& operator=(const CAMThread&) = delete;

    /// Starts the thread. False when there is one, also one that has ended and was not closed, and when none can be
    /// had.
    bool Create() VEX_EXCLUDES(channel);
    bool ThreadExists() const { return thread.joinable(); }
    /// Hands a command over and waits for the reply. E_FAIL without a thread, or when it ended without one.
    HRESULT CallWorker(uint32_t command) VEX_EXCLUDES(callers, channel);
    /// Waits for the thread's end.
    void Close();

protected:
    CAMThread() = default;
    /// Derived classes end their thread in their own destructor.
    ~CAMThread();

    virtual HRESULT ThreadProc() = 0;
    /// The command that waits, without taking it.
    std::optional<uint32_t> CheckRequest() VEX_EXCLUDES(channel);
    /// Waits for one. It stays until Reply: whoever asks again gets the same.
    uint32_t GetRequest() VEX_EXCLUDES(channel);
    /// Answers the command and empties the slot.
    void Reply(HRESULT result) VEX_EXCLUDES(channel);
    /// Wakes the worker out of WaitForRequestOrWake. Any thread.
    void Wake() VEX_EXCLUDES(channel);
    /// Waits for a command or a Wake, whichever comes first; a Wake that came before counts once, and one that comes
    /// together with a command counts in the next wait.
    void WaitForRequestOrWake() VEX_EXCLUDES(channel);
    /// The same with a limit; false when the time is over.
    bool WaitForRequestOrWake(std::chrono::microseconds limit) VEX_EXCLUDES(channel);

private:
    bool TakeWake() VEX_REQUIRES(channel);

    Mutex callers;  // one CallWorker at a time
    Mutex channel VEX_ACQUIRED_AFTER(callers);
    Condition requested;
    Condition replied;
    std::optional<uint32_t> request VEX_GUARDED_BY(channel);
    std::optional<HRESULT> reply VEX_GUARDED_BY(channel);
    bool woken VEX_GUARDED_BY(channel) = false;
    bool ended VEX_GUARDED_BY(channel) = true;
    std::thread thread;
};

}  // namespace vexcap
