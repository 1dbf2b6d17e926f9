// A counted reference to an object that has AddRef and Release.
#pragma once

#include <vexcap/types.h>

#include <cstddef>
#include <utility>

namespace vexcap {

template <typename T>
class Ref {
public:
    Ref() = default;
    Ref(std::nullptr_t) {}
    /// Takes a reference of its own.
    Ref(T* object) : held(object) {
        if (held) held->AddRef();
    }
    Ref(const Ref& other) : Ref(other.held) {}
    Ref(Ref&& other) noexcept : held(std::exchange(other.held, nullptr)) {}
    template <typename Derived>
    Ref(const Ref<Derived>& other) : Ref(static_cast<T*>(other.get())) {}
    ~Ref() {
        if (held) held->Release();
    }
    Ref& operator=(Ref other) noexcept {
        std::swap(held, other.held);
        return *this;
    }
    /// Takes over the reference that the caller has.
    static Ref adopt(T* object) {
        Ref made;
        made.held = object;
        return made;
    }
    /// Hands the reference to the caller.
    [[nodiscard]] T* detach() { return std::exchange(held, nullptr); }
    T* get() const { return held; }
    T* operator->() const { return held; }
    T& operator*() const { return *held; }
    explicit operator bool() const { return held != nullptr; }
    friend bool operator==(const Ref& a, const Ref& b) { return a.held == b.held; }

private:
    T* held = nullptr;
};

/// A new object with its first reference.
template <typename T, typename... Arguments>
Ref<T> makeRef(Arguments&&... arguments) {
    return Ref<T>::adopt(new T(std::forward<Arguments>(arguments)...));
}

/// The object under another of its interfaces; null where it has none, and for a null object.
template <typename Interface, typename Object>
Ref<Interface> queryInterface(Object* object, const vex_guid& id) {
    void* out = nullptr;
    if (!object || object->QueryInterface(id, &out) < 0) return nullptr;
    return Ref<Interface>::adopt(static_cast<Interface*>(out));
}
template <typename Interface, typename Object>
Ref<Interface> queryInterface(Object* object) {
    return queryInterface<Interface>(object, Interface::iid);
}
template <typename Interface, typename Object>
Ref<Interface> queryInterface(const Ref<Object>& object) {
    return queryInterface<Interface>(object.get());
}

}  // namespace vexcap
