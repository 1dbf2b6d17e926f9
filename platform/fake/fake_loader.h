// Libraries that a test makes up: a name, and what each of its symbols points to.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "base/mutex.h"
#include "platform/loader.h"

namespace vexcap {

/// One call of the loader.
struct LoaderCall {
    enum class Kind { Load, Symbol, Free };
    Kind kind;
    std::u16string library;
    std::string symbol;  ///< Of a Symbol call.
    bool found = true;   ///< False when the answer was null.
};

/// A function's or an object's address as the loader hands it out.
template <typename T>
void* symbolOf(T* address) {
    return reinterpret_cast<void*>(address);
}

/// Names are compared as they stand. Any thread.
class FakeLoader final : public ILoader {
public:
    using ILoader::Load;
    void* Load(std::u16string_view name, std::u16string& problem) override;
    void* Symbol(void* library, const char* name) override;
    void Free(void* library) override;

    /// From now on there is a library of this name; one that was there is replaced for later loads.
    void add(std::u16string_view name, std::map<std::string, void*> symbols);
    /// From now on there is none.
    void hide(std::u16string_view name);

    std::vector<LoaderCall> calls() const;
    /// Loads of this library that were not followed by a Free.
    int loaded(std::u16string_view name) const;

private:
    struct Library {
        std::u16string name;
        std::map<std::string, void*> symbols;
        int loads = 0;
    };

    mutable Mutex lock;
    std::map<std::u16string, Library*, std::less<>> known VEX_GUARDED_BY(lock);
    std::vector<std::unique_ptr<Library>> libraries VEX_GUARDED_BY(lock);  // all that ever were: handles stay good
    std::vector<LoaderCall> made VEX_GUARDED_BY(lock);
};

}  // namespace vexcap
