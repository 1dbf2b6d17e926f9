// A worker thread with a one-slot command channel.
#include "graph/worker.h"

#include <cassert>
#include <system_error>

namespace vexcap {

CAMThread::~CAMThread() { assert(!thread.joinable()); }

bool CAMThread::Create() {
    if (thread.joinable()) return false;
    {
        MutexGuard held(channel);
        request.reset();
        reply.reset();
        woken = false;
        ended = false;
    }
    try {
        thread = std::thread([this] {
            ThreadProc();
            MutexGuard held(channel);
            ended = true;
            replied.notifyAll();
        });
        return true;
    } catch (const std::system_error&) {
        MutexGuard held(channel);
        ended = true;
        return false;
    }
}

HRESULT CAMThread::CallWorker(uint32_t command) {
    MutexGuard alone(callers);
    MutexGuard held(channel);
    if (ended) return E_FAIL;
    request = command;
    reply.reset();
    requested.notifyAll();
    while (!reply && !ended) replied.wait(channel);
    request.reset();
    return reply.value_or(E_FAIL);
}

void CAMThread::Close() {
    if (thread.joinable()) thread.join();
}

std::optional<uint32_t> CAMThread::CheckRequest() {
    MutexGuard held(channel);
    return request;
}

uint32_t CAMThread::GetRequest() {
    MutexGuard held(channel);
    while (!request) requested.wait(channel);
    return *request;
}

void CAMThread::Reply(HRESULT result) {
    MutexGuard held(channel);
    request.reset();
    reply = result;
    replied.notifyAll();
}

void CAMThread::Wake() {
    MutexGuard held(channel);
    woken = true;
    requested.notifyAll();
}

bool CAMThread::TakeWake() {
    if (request) return true;
    const bool was = woken;
    woken = false;
    return was;
}

void CAMThread::WaitForRequestOrWake() {
    MutexGuard held(channel);
    while (!TakeWake()) requested.wait(channel);
}

bool CAMThread::WaitForRequestOrWake(std::chrono::microseconds limit) {
    const auto end = std::chrono::steady_clock::now() + limit;
    MutexGuard held(channel);
    while (!TakeWake()) {
        const auto left = end - std::chrono::steady_clock::now();
        if (left <= left.zero()) return false;
        requested.waitFor(channel, left);
    }
    return true;
}

}  // namespace vexcap
