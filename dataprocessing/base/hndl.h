#pragma once

/// @file
/// A reference that can be stored, copied, compared and empty.

#include <concepts>

#include "dataprocessing/base/expt.h"

/// A reference to a `T` that somebody else owns, or to nothing. Copying it copies the reference;
/// two handles are equal when they refer to the same object, whatever its value, or are both empty.
/// It does not keep its object alive.
///
///     peak.SetRefGaussian(reference);   // an object converts to the handle that refers to it
template<class T>
class hndl_cHandle {
public:
    /// The empty handle.
    constexpr hndl_cHandle() noexcept = default;

    /// The handle that refers to `object`, which must outlive its use.
    constexpr hndl_cHandle(T& object) noexcept : object_(&object) {}

    /// A temporary has no identity to refer to.
    hndl_cHandle(const T&&) = delete;

    /// The handle that refers to the same object through its base `T`, or as constant.
    template<class U>
    requires(!std::same_as<U, T> && std::convertible_to<U*, T*>) constexpr hndl_cHandle(
        const hndl_cHandle<U>& other) noexcept
        : object_(other.Get()) {}

    /// True when the handle refers to nothing.
    constexpr bool IsEmpty() const noexcept { return object_ == nullptr; }
    /// True when the handle refers to an object.
    constexpr explicit operator bool() const noexcept { return object_ != nullptr; }

    /// The object, or null for the empty handle.
    constexpr T* Get() const noexcept { return object_; }

    /// The object. The empty handle raises a program error (unit "hndl", line 1).
    constexpr T& operator*() const {
        if (!object_) [[unlikely]]
            throw expt_cProgramException("hndl", 1, "The handle refers to nothing.");
        return *object_;
    }
    /// Access to a member of the object. The empty handle raises a program error (unit "hndl",
    /// line 1).
    constexpr T* operator->() const { return &**this; }

    /// Handles are compared by the identity of what they refer to.
    friend constexpr bool operator==(const hndl_cHandle&, const hndl_cHandle&) noexcept = default;

private:
    T* object_ = nullptr;
};
