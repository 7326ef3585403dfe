#include "platform/components/ComponentInstances.h"

#include "platform/ComponentParameterBlock.h"
#include "platform/components/ComponentRecord.h"
#include "platform/system/MainThread.h"

namespace velnor {

ComponentInstances& ComponentInstances::Shared() {
    static auto* const instances = new ComponentInstances;
    return *instances;
}

OSStatus ComponentInstances::Open(Component component, ComponentInstance* instance) {
    auto owned = std::make_unique<OpaqueComponentInstance>(
        OpaqueComponentInstance{nullptr, nullptr, component, false});
    const ComponentInstance opened = owned.get();
    opened->entry = component->AddInstance();
    if (opened->entry == nullptr) {
        return couldNotOpenComponent;
    }
    try {
        mInstances.emplace(opened, std::move(owned));
    } catch (...) {
        component->RemoveInstance();
        throw;
    }
    auto block = encode(kComponentOpenSelect, opened);
    const ComponentResult result = EnterComponent(opened, block.Get());
    if (result != noErr) {
        Remove(opened);
        return result;
    }
    opened->settled = true;
    *instance = opened;
    return noErr;
}

ComponentResult ComponentInstances::Close(ComponentInstance instance) {
    if (!Knows(instance) || !instance->settled) {
        return badComponentInstance;
    }
    instance->settled = false;
    auto block = encode(kComponentCloseSelect, instance);
    const ComponentResult result = EnterComponent(instance, block.Get());
    Remove(instance);
    return result;
}

void ComponentInstances::Remove(ComponentInstance instance) {
    const Component component = instance->component;
    mInstances.erase(instance);
    component->RemoveInstance();
    if (mInstances.empty()) {
        VELNOR_FORGET_MAIN_THREAD(kComponents);
        VELNOR_FORGET_MAIN_THREAD(kView);
    }
}

} // namespace velnor
