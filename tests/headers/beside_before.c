/* Another header's result names, before this boundary's: they stay, without a warning. */
#define S_OK ((int)0L)
#define S_FALSE ((int)1L)
#define E_NOTIMPL ((int)0x80004001L)
#define E_NOINTERFACE ((int)0x80004002L)
#define E_POINTER ((int)0x80004003L)
#define E_FAIL ((int)0x80004005L)
#define E_UNEXPECTED ((int)0x8000FFFFL)
#define E_ACCESSDENIED ((int)0x80070005L)
#define E_OUTOFMEMORY ((int)0x8007000EL)
#define E_INVALIDARG ((int)0x80070057L)

#include <vexcap/vexcap.h>

_Static_assert(S_OK == VEX_RESULT_OK && S_FALSE == VEX_RESULT_FALSE, "value");
_Static_assert(E_NOTIMPL == VEX_RESULT_NOTIMPL && E_NOINTERFACE == VEX_RESULT_NOINTERFACE, "value");
_Static_assert(E_POINTER == VEX_RESULT_POINTER && E_FAIL == VEX_RESULT_FAIL, "value");
_Static_assert(E_UNEXPECTED == VEX_RESULT_UNEXPECTED && E_ACCESSDENIED == VEX_RESULT_ACCESSDENIED, "value");
_Static_assert(E_OUTOFMEMORY == VEX_RESULT_OUTOFMEMORY && E_INVALIDARG == VEX_RESULT_INVALIDARG, "value");
