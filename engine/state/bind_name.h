// Functions of a library by their names.
#pragma once

#include <string>

#include "platform/loader.h"

namespace vexcap {

/// Null for a null library and for a name that it lacks.
template <typename Function>
void bindName(ILoader& loader, void* library, const std::string& name, Function& target) {
    target = library ? reinterpret_cast<Function>(loader.Symbol(library, name.c_str())) : nullptr;
}

}  // namespace vexcap
