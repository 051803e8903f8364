// SPDX-License-Identifier: Apache-2.0
// A reference to a callable, for arguments of functions. Unlike std::function it never allocates, so it cannot throw.
#pragma once

#include <memory>
#include <utility>

namespace hwa {

template <typename Signature>
class FunctionRef;

template <typename Result, typename... Arguments>
class FunctionRef<Result(Arguments...)> {
public:
    template <typename Callable>
    FunctionRef(const Callable &callable)
        : callable_(std::addressof(callable)), call_([](const void *object, Arguments... arguments) -> Result {
              return (*static_cast<const Callable *>(object))(std::forward<Arguments>(arguments)...);
          }) {}

    Result operator()(Arguments... arguments) const { return call_(callable_, std::forward<Arguments>(arguments)...); }

private:
    const void *callable_;
    Result (*call_)(const void *, Arguments...);
};

} // namespace hwa
