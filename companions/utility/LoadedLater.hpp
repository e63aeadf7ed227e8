#pragma once

#include <atomic>

namespace orv {

/// Returns the address of a function in a shared library. The first call loads the library, and it
/// stays.
///
/// Threading: any.
/// Errors: an `Error` with the name of the library, and why it does not load or lacks the function.
[[nodiscard]] void* loaded_function(const char* library, const char* function);

/// A function of a C library loaded with the first call: a process without such a call does not pay
/// for its start. The object has the function's name and is called like it.
///
/// Threading: any.
/// Errors: as `loaded_function`.
template <class Function>
class LoadedLater;

template <class Result, class... Arguments>
class LoadedLater<Result(Arguments...)> {
public:
    constexpr LoadedLater(const char* library, const char* name) noexcept
        : library_(library), name_(name)
    {
    }

    Result operator()(Arguments... arguments) const
    {
        void* function = function_.load(std::memory_order_acquire);
        if (!function) {
            function = loaded_function(library_, name_);
            function_.store(function, std::memory_order_release);
        }
        return reinterpret_cast<Result (*)(Arguments...)>(function)(arguments...);
    }

private:
    const char* library_;
    const char* name_;
    mutable std::atomic<void*> function_ = nullptr;
};

} // namespace orv
