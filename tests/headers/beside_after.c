/* Another header's result names, after this boundary's: free, where a host wants them so. */
#define VEXCAP_NO_SHORT_RESULTS
#include <vexcap/camera_library.h>
#include <vexcap/vexcap.h>

enum { S_OK, S_FALSE, E_NOTIMPL, E_NOINTERFACE, E_POINTER, E_FAIL };
enum { E_UNEXPECTED = 100, E_ACCESSDENIED, E_OUTOFMEMORY, E_INVALIDARG };

_Static_assert(VEX_E_DISK_FULL == VEX_RESULT_DISK_FULL, "names with VEX_ are there");
