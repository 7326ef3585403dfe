// Open components.
#ifndef VELNOR_PLATFORM_COMPONENTS_COMPONENTINSTANCES_H
#define VELNOR_PLATFORM_COMPONENTS_COMPONENTINSTANCES_H

#include "platform/Components.h"
#include "platform/Facts.h"
#include "platform/components/ForeignCodeScope.h"

#include <map>
#include <memory>

struct OpaqueComponentInstance {
    ComponentEntry entry;
    void* storage;
    Component component;
    bool settled; // neither being opened nor being closed
};

namespace velnor {

// Enters the component. badComponentInstance for null. Thread and concurrency are the selector's;
// may block.
inline ComponentResult EnterComponent(ComponentInstance instance, ComponentParameters* params) {
    if (instance == nullptr) {
        return badComponentInstance;
    }
    const ForeignCodeScope scope;
    return instance->entry(params, instance->storage);
}

// The same for the selectors that must not block, which the check at run time follows into the
// component.
inline ComponentResult EnterComponentOnRoad(ComponentInstance instance,
                                            ComponentParameters* params) VELNOR_NONBLOCKING {
    ComponentResult result = noErr;
    VELNOR_RT_ESCAPE_CHECKED("one entry serves the selectors that block, too",
                             result = EnterComponent(instance, params));
    return result;
}

// The instances of the process. Thread main, exclusive, may block.
class ComponentInstances {
public:
    // Never destroyed.
    static ComponentInstances& Shared();

    // Status as PlatformOpenComponent. component is a known one.
    OSStatus Open(Component component, ComponentInstance* instance);
    // badComponentInstance for a pointer that is no instance, and for one that its own open or
    // close selector is still running for.
    ComponentResult Close(ComponentInstance instance);
    // Whether it is an instance; does not look behind the pointer.
    bool Knows(ComponentInstance instance) const { return mInstances.contains(instance); }

private:
    void Remove(ComponentInstance instance);

    std::map<ComponentInstance, std::unique_ptr<OpaqueComponentInstance>> mInstances;
};

} // namespace velnor

#endif
