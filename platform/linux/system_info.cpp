#include "platform/linux/system_info.h"

#include <unistd.h>

namespace vexcap {

uint64_t LinuxSystemInfo::TotalMemory() {
    const long pages = sysconf(_SC_PHYS_PAGES), pageSize = sysconf(_SC_PAGESIZE);
    return pages > 0 && pageSize > 0 ? uint64_t(pages) * uint64_t(pageSize) : 0;
}

}  // namespace vexcap
