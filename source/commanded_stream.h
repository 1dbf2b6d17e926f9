// Source pins whose loop looks for commands between two samples.
#pragma once

#include "graph/source.h"

namespace vexcap {

class CCommandedStream : public CSourceStream {
protected:
    using CSourceStream::CSourceStream;
    ~CCommandedStream() override = default;

    /// Answers what waits. True for a stop, which is left for ThreadProc: the loop is to end with S_FALSE.
    bool StopRequested() {
        for (;;) {
            const std::optional<uint32_t> command = CheckRequest();
            if (!command) return false;
            if (*command == CMD_STOP) return true;
            Reply(*command == CMD_PAUSE || *command == CMD_RUN ? S_OK : E_UNEXPECTED);
        }
    }
};

}  // namespace vexcap
