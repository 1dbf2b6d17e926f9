// Failures inside the library: a code that nobody can overlook, and a value or a code.
#pragma once

#include <vexcap/types.h>

#include <cassert>
#include <optional>
#include <utility>

namespace vexcap {

/// A result code that must be looked at. Negative is a failure.
class [[nodiscard]] Status {
public:
    constexpr Status(HRESULT value) : result(value) {}
    constexpr bool ok() const { return result >= 0; }
    constexpr HRESULT code() const { return result; }
    /// For the few places where nobody is left to hear of a failure.
    constexpr void ignore() const {}
    friend constexpr bool operator==(Status, Status) = default;

private:
    HRESULT result;
};

/// A value, or the code of the failure that prevented it.
template <typename T>
class [[nodiscard]] Result {
public:
    Result(T made) : held(std::move(made)), result(S_OK) {}
    Result(Status failure) : result(failure) { assert(!failure.ok()); }
    Result(HRESULT failure) : Result(Status(failure)) {}
    bool ok() const { return result.ok(); }
    Status status() const { return result; }
    HRESULT code() const { return result.code(); }
    T& value() & { return assert(held), *held; }
    const T& value() const& { return assert(held), *held; }
    T&& value() && { return assert(held), std::move(*held); }

private:
    std::optional<T> held;
    Status result;
};

}  // namespace vexcap
