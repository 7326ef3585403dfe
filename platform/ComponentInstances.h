/* Open components. Internal to the platform library. */
#ifndef VELNOR_PLATFORM_COMPONENTINSTANCES_H
#define VELNOR_PLATFORM_COMPONENTINSTANCES_H

#include "platform/Components.h"
#include "platform/Facts.h"
#include "platform/ForeignCodeScope.h"

#include <map>
#include <memory>

struct OpaqueComponentInstance {
    ComponentEntry entry;
    void* storage;
    Component component;
    bool settled; /* neither being opened nor being closed */
};

namespace velnor {

/* Enters the component. badComponentInstance for null. Thread, concurrency and real-time class are
 * the selector's; nothing is added to what the component does. */
inline ComponentResult EnterComponent(ComponentInstance instance,
                                      ComponentParameters* params) VELNOR_NONBLOCKING {
    if (instance == nullptr) {
        return badComponentInstance;
    }
    ComponentResult result = noErr;
    VELNOR_RT_ESCAPE("the component's own code", const ForeignCodeScope scope;
                     result = instance->entry(params, instance->storage));
    return result;
}

/* The instances of the process. Thread main, exclusive, may block. */
class ComponentInstances {
public:
    /* Never destroyed. */
    static ComponentInstances& Shared();

    /* Status as PlatformOpenComponent. component is a known one. */
    OSStatus Open(Component component, ComponentInstance* instance);
    /* badComponentInstance for a pointer that is no instance, and for one that its own open or
     * close selector is still running for. */
    ComponentResult Close(ComponentInstance instance);
    /* Whether it is an instance; does not look behind the pointer. */
    bool Knows(ComponentInstance instance) const { return mInstances.contains(instance); }

private:
    void Remove(ComponentInstance instance);

    std::map<ComponentInstance, std::unique_ptr<OpaqueComponentInstance>> mInstances;
};

} // namespace velnor

#endif
