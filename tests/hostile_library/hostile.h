/// What the tests call of the scripted camera library, beside the exports of the contract.
#ifndef VEXCAP_TESTS_HOSTILE_H
#define VEXCAP_TESTS_HOSTILE_H

#ifdef __cplusplus
extern "C" {
#endif

#define HOSTILE_API __attribute__((visibility("default")))

/// Sets the script, see script.h; an empty text is the well-behaved camera. -1 for a text that cannot be read.
HOSTILE_API int hostile_script(const char* text);

/// Waits until every thread that went on after its camera's end is gone.
HOSTILE_API void hostile_settle(void);

/// Cameras that were opened and are not freed yet.
HOSTILE_API int hostile_cameras(void);

#ifdef __cplusplus
}
#endif

#endif
