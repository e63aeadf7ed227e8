#pragma once

#include <memory>
#include <type_traits>
#include <utility>

namespace orv {

template <class Signature>
class FunctionRef;

/// A reference to a callable, for calls that end before the callable does. Owns nothing and
/// allocates nothing.
template <class Result, class... Arguments>
class FunctionRef<Result(Arguments...)> {
public:
    // NOLINTBEGIN(google-explicit-constructor): passed as an argument
    // NOLINTBEGIN(bugprone-forwarding-reference-overload): constrained to other types
    template <class Callable>
    requires(!std::is_same_v<std::remove_cvref_t<Callable>, FunctionRef> &&
             std::is_invocable_r_v<Result, Callable&, Arguments...>)
        FunctionRef(Callable&& callable)
        : callable_(const_cast<void*>(static_cast<const void*>(std::addressof(callable)))),
          call_([](void* target, Arguments... arguments) -> Result {
              auto& function = *static_cast<std::remove_reference_t<Callable>*>(target);
              if constexpr (std::is_void_v<Result>)
                  static_cast<void>(function(std::forward<Arguments>(arguments)...));
              else
                  return function(std::forward<Arguments>(arguments)...);
          })
    {
    }
    // NOLINTEND(bugprone-forwarding-reference-overload)
    // NOLINTEND(google-explicit-constructor)

    Result operator()(Arguments... arguments) const
    {
        return call_(callable_, std::forward<Arguments>(arguments)...);
    }

private:
    void* callable_;
    Result (*call_)(void*, Arguments...);
};

} // namespace orv
