/// The version of the headers, and that of the library that runs.
#ifndef VEXCAP_VERSION_H
#define VEXCAP_VERSION_H

#include <vexcap/types.h>

VEXCAP_EXTERN_C_BEGIN

/// Functions are added with each minor version and never taken away within a major one.
#define VEXCAP_VERSION_MAJOR 1
#define VEXCAP_VERSION_MINOR 1
#define VEXCAP_VERSION_PATCH 0

/// The version as one number, to be compared: 8 bits each for minor version and patch, the major version above them.
#define VEXCAP_VERSION_NUMBER (VEXCAP_VERSION_MAJOR << 16 | VEXCAP_VERSION_MINOR << 8 | VEXCAP_VERSION_PATCH)

/// The version of the library that runs, as VEXCAP_VERSION_NUMBER has it. Any thread, any time.
VEXCAP_API uint32_t vexcap_version(void);

VEXCAP_EXTERN_C_END
#endif
