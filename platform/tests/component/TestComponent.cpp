// A component for the component manager's tests. Selectors of its own:
//   kSumSelect    (SInt32, SInt32) their sum
//   kCloseSelect  (another instance) closes its own instance, calls the other, and answers from
//   code
//                 that must still be there
#include "platform/tests/component/TestComponent.h"

#include "platform/ComponentParameterBlock.h"

#include <cstdlib>

using velnor::argument;

namespace {

ComponentResult Open(ComponentInstance self) {
    ComponentDescription description = {};
    if (GetComponentInfo(reinterpret_cast<Component>(self), &description, nullptr, nullptr,
                         nullptr) != noErr) {
        return paramErr;
    }
    if (CloseComponent(self) != badComponentInstance) {
        return paramErr;
    }
    if (const char* status = std::getenv(kOpenStatusVariable)) {
        return std::atoi(status);
    }
    SetComponentInstanceStorage(self, self);
    return noErr;
}

ComponentResult Close(ComponentInstance self) {
    return CloseComponent(self) == badComponentInstance ? noErr : paramErr;
}

} // namespace

extern "C" VELNOR_PLATFORM_API ComponentResult TestEntry(ComponentParameters* params,
                                                         void* storage) {
    switch (params->what) {
    case kComponentOpenSelect:
        return Open(argument<ComponentInstance>(params, 0, 1));
    case kComponentCloseSelect:
        return Close(argument<ComponentInstance>(params, 0, 1));
    case kComponentVersionSelect:
        return kTestVersion;
    case kComponentCanDoSelect:
        return argument<SInt16>(params, 0, 1) == kSumSelect;
    case kSumSelect:
        return argument<SInt32>(params, 0, 2) + argument<SInt32>(params, 1, 2);
    case kCloseSelect:
        return CloseComponent(static_cast<ComponentInstance>(storage)) == noErr &&
                       GetComponentVersion(argument<ComponentInstance>(params, 0, 1)) ==
                           kTestVersion
                   ? kClosedAnswer
                   : paramErr;
    default:
        return badComponentSelector;
    }
}
