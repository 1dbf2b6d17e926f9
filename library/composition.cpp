// The top of the house: hands the adapters of this system to the engine when the library is loaded.
#include "engine/state/engine_state.h"
#include "platform/linux/platform.h"

namespace {

const struct Composition {
    Composition() { vexcap::engineState().platform = &vexcap::linuxPlatform(); }
} composition;

}  // namespace
