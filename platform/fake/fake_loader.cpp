#include "platform/fake/fake_loader.h"

namespace vexcap {

void* FakeLoader::Load(std::u16string_view name, std::u16string& problem) {
    MutexGuard guard(lock);
    const auto found = known.find(name);
    Library* const library = found == known.end() ? nullptr : found->second;
    made.push_back({LoaderCall::Kind::Load, std::u16string(name), "", library != nullptr});
    if (library)
        ++library->loads;
    else
        problem = u"no such file";
    return library;
}

void* FakeLoader::Symbol(void* library, const char* name) {
    MutexGuard guard(lock);
    const Library& asked = *static_cast<const Library*>(library);
    const auto found = asked.symbols.find(name);
    void* const address = found == asked.symbols.end() ? nullptr : found->second;
    made.push_back({LoaderCall::Kind::Symbol, asked.name, name, address != nullptr});
    return address;
}

void FakeLoader::Free(void* library) {
    MutexGuard guard(lock);
    Library& freed = *static_cast<Library*>(library);
    made.push_back({LoaderCall::Kind::Free, freed.name, "", true});
    --freed.loads;
}

void FakeLoader::add(std::u16string_view name, std::map<std::string, void*> symbols) {
    MutexGuard guard(lock);
    auto library = std::make_unique<Library>();
    library->name = name;
    library->symbols = std::move(symbols);
    known[std::u16string(name)] = library.get();
    libraries.push_back(std::move(library));
}

void FakeLoader::hide(std::u16string_view name) {
    MutexGuard guard(lock);
    if (const auto found = known.find(name); found != known.end()) known.erase(found);
}

std::vector<LoaderCall> FakeLoader::calls() const {
    MutexGuard guard(lock);
    return made;
}

int FakeLoader::loaded(std::u16string_view name) const {
    MutexGuard guard(lock);
    int loads = 0;
    for (const auto& library : libraries)
        if (library->name == name) loads += library->loads;
    return loads;
}

}  // namespace vexcap
