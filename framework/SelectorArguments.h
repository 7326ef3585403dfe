// The way from a parameter block to a typed call.
#ifndef VELNOR_FRAMEWORK_SELECTORARGUMENTS_H
#define VELNOR_FRAMEWORK_SELECTORARGUMENTS_H

#include "platform/ComponentParameterBlock.h"

#include <utility>

namespace velnor {

/// Calls inCall with the block's arguments in the order of the platform call, of exactly these
/// types. paramErr: the block was made for fewer. Thread any, concurrent, nonblocking if inCall is.
template <typename... Args, typename Call>
ComponentResult CallWithArguments(const ComponentParameters* inParams, const Call& inCall) {
    constexpr std::size_t kCount = sizeof...(Args);
    if (!holdsArguments(inParams, kCount)) {
        return paramErr;
    }
    return [&]<std::size_t... Index>(std::index_sequence<Index...>) {
        return inCall(argument<Args>(inParams, Index, kCount)...);
    }(std::index_sequence_for<Args...>{});
}

} // namespace velnor

#endif
