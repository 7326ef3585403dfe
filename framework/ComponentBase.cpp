#include "framework/ComponentBase.h"

#include "framework/SelectorArguments.h"

#include <memory>

namespace velnor {

namespace {

constexpr ComponentResult kDefaultVersion = 1;

ComponentResult CanDo(SInt16 inSelector) {
    return inSelector >= kComponentVersionSelect && inSelector <= kComponentOpenSelect ? 1 : 0;
}

ComponentResult Close(ComponentBase* inThis) {
    const std::unique_ptr<ComponentBase> owner(inThis);
    SetComponentInstanceStorage(owner->GetComponentInstance(), nullptr);
    owner->PreDestructor();
    return noErr;
}

} // namespace

ComponentBase::ComponentBase(ComponentInstance inInstance) : mComponentInstance(inInstance) {}

ComponentBase::~ComponentBase() = default;

ComponentResult ComponentBase::Version() {
    return kDefaultVersion;
}

void ComponentBase::PostConstructor() {}

void ComponentBase::PreDestructor() {}

OSStatus ComponentBase::GetComponentDescription(ComponentDescription& outDescription) const {
    return GetComponentInfo(reinterpret_cast<Component>(mComponentInstance), &outDescription,
                            nullptr, nullptr, nullptr);
}

ComponentResult ComponentBase::ComponentEntryDispatch(ComponentParameters* inParams,
                                                      ComponentBase* inThis) {
    if (inThis == nullptr) {
        return paramErr;
    }
    switch (inParams->what) {
    case kComponentCloseSelect:
        return Close(inThis);
    case kComponentCanDoSelect:
        return CallWithArguments<SInt16>(inParams, CanDo);
    case kComponentVersionSelect:
        return inThis->Version();
    default:
        return badComponentSelector;
    }
}

} // namespace velnor
