#include "platform/Components.h"

#include "platform/ComponentParameterBlock.h"
#include "platform/components/ComponentInstances.h"
#include "platform/components/ComponentRegistry.h"
#include "platform/system/MainThread.h"
#include "platform/values/CFStringObject.h"

#include <algorithm>
#include <new>
#include <utility>

using velnor::ComponentInstances;
using velnor::ComponentRegistry;

namespace {

bool Matches(const ComponentDescription& description, Component component) {
    const ComponentDescription own = component->Description();
    const auto same = [](OSType wanted, OSType code) { return wanted == 0 || wanted == code; };
    return same(description.componentType, own.componentType) &&
           same(description.componentSubType, own.componentSubType) &&
           same(description.componentManufacturer, own.componentManufacturer) &&
           ((description.componentFlags ^ own.componentFlags) & description.componentFlagsMask) ==
               0;
}

// What call answers, or memFullErr.
template <class Call>
OSStatus StatusOf(const Call& call) {
    try {
        return call();
    } catch (const std::bad_alloc&) {
        return memFullErr;
    }
}

bool IsComponent(Component component) {
    return ComponentRegistry::Shared().Knows(component);
}

bool IsInstance(ComponentInstance instance) {
    return ComponentInstances::Shared().Knows(instance);
}

} // namespace

Component FindNextComponent(Component previous, ComponentDescription* description) {
    VELNOR_MAIN_THREAD(kComponents);
    if (description == nullptr) {
        return nullptr;
    }
    const auto& listed = ComponentRegistry::Shared().Listed();
    auto from = listed.begin();
    if (previous != nullptr) {
        from = std::find(listed.begin(), listed.end(), previous);
        if (from == listed.end()) {
            return nullptr;
        }
        ++from;
    }
    const auto found = std::find_if(from, listed.end(), [description](Component component) {
        return Matches(*description, component);
    });
    return found != listed.end() ? *found : nullptr;
}

SInt32 CountComponents(ComponentDescription* description) {
    VELNOR_MAIN_THREAD(kComponents);
    if (description == nullptr) {
        return 0;
    }
    const auto& listed = ComponentRegistry::Shared().Listed();
    return static_cast<SInt32>(
        std::count_if(listed.begin(), listed.end(), [description](Component component) {
            return Matches(*description, component);
        }));
}

Component PlatformFindComponentFor(ComponentInstance instance,
                                   const ComponentDescription* description) {
    if (!IsInstance(instance) || description == nullptr) {
        return nullptr;
    }
    ComponentDescription wanted = *description;
    const std::string& path = instance->component->BundlePath();
    if (!path.empty()) {
        const auto beside = ComponentRegistry::Shared().OfBundle(path);
        const auto found = std::find_if(beside.begin(), beside.end(), [&](Component component) {
            return Matches(wanted, component);
        });
        if (found != beside.end()) {
            return *found;
        }
    }
    return FindNextComponent(nullptr, &wanted);
}

void PlatformRescanComponents(void) {
    VELNOR_MAIN_THREAD(kComponents);
    ComponentRegistry::Shared().Rescan();
}

OSStatus PlatformRegisterComponentBundle(const char* path, Component* components, UInt32 maximum,
                                         UInt32* count) {
    VELNOR_MAIN_THREAD(kComponents);
    if (path == nullptr || count == nullptr || (components == nullptr && maximum > 0)) {
        return paramErr;
    }
    *count = 0;
    std::vector<Component> registered;
    const OSStatus status =
        StatusOf([&] { return ComponentRegistry::Shared().RegisterBundle(path, registered); });
    if (status != noErr) {
        return status;
    }
    *count = static_cast<UInt32>(registered.size());
    std::copy_n(registered.begin(), std::min<std::size_t>(registered.size(), maximum), components);
    return noErr;
}

Component PlatformRegisterComponentEntry(const ComponentDescription* description,
                                         ComponentEntry entry, const char* name, SInt32 version) {
    VELNOR_MAIN_THREAD(kComponents);
    if (description == nullptr || entry == nullptr) {
        return nullptr;
    }
    velnor::ComponentRegistration registration = {
        description->componentType,         description->componentSubType,
        description->componentManufacturer, {},
        name != nullptr ? name : "",        version};
    return ComponentRegistry::Shared().RegisterEntry(std::move(registration), entry);
}

OSStatus PlatformOpenComponent(Component component, ComponentInstance* instance) {
    VELNOR_MAIN_THREAD(kComponents);
    if (instance == nullptr) {
        return paramErr;
    }
    *instance = nullptr;
    return StatusOf([&] {
        return IsComponent(component) ? ComponentInstances::Shared().Open(component, instance)
                                      : OSStatus{invalidComponentID};
    });
}

OSErr OpenAComponent(Component component, ComponentInstance* instance) {
    VELNOR_MAIN_THREAD(kComponents);
    const OSStatus status = PlatformOpenComponent(component, instance);
    return static_cast<OSErr>(std::in_range<OSErr>(status) ? status : couldNotOpenComponent);
}

ComponentInstance OpenComponent(Component component) {
    VELNOR_MAIN_THREAD(kComponents);
    ComponentInstance instance = nullptr;
    PlatformOpenComponent(component, &instance);
    return instance;
}

ComponentResult CloseComponent(ComponentInstance instance) {
    VELNOR_MAIN_THREAD(kComponents);
    return ComponentInstances::Shared().Close(instance);
}

SInt32 CountComponentInstances(Component component) {
    VELNOR_MAIN_THREAD(kComponents);
    return IsComponent(component) ? component->InstanceCount() : 0;
}

ComponentResult CallComponentDispatch(ComponentInstance instance, ComponentParameters* params) {
    return params != nullptr ? velnor::EnterComponent(instance, params) : paramErr;
}

ComponentResult ComponentFunctionImplemented(ComponentInstance instance, SInt16 selector) {
    VELNOR_MAIN_THREAD(kComponents);
    auto block = velnor::encode(kComponentCanDoSelect, selector);
    return velnor::EnterComponent(instance, block.Get());
}

ComponentResult GetComponentVersion(ComponentInstance instance) {
    VELNOR_MAIN_THREAD(kComponents);
    auto block = velnor::encode(kComponentVersionSelect);
    return velnor::EnterComponent(instance, block.Get());
}

Component PlatformComponentOfInstance(ComponentInstance instance) {
    VELNOR_MAIN_THREAD(kComponents);
    return IsInstance(instance) ? instance->component : nullptr;
}

CFStringRef PlatformComponentCopyName(Component component) {
    VELNOR_MAIN_THREAD(kComponents);
    return IsComponent(component) ? velnor::CreateString(component->Registration().name) : nullptr;
}

CFStringRef PlatformComponentCopyBundlePath(Component component) {
    VELNOR_MAIN_THREAD(kComponents);
    return IsComponent(component) && !component->BundlePath().empty()
               ? velnor::CreateString(component->BundlePath())
               : nullptr;
}

CFStringRef PlatformComponentCopyOpenError(Component component) {
    VELNOR_MAIN_THREAD(kComponents);
    return IsComponent(component) && !component->OpenError().empty()
               ? velnor::CreateString(component->OpenError())
               : nullptr;
}

SInt32 PlatformComponentRegisteredVersion(Component component) {
    VELNOR_MAIN_THREAD(kComponents);
    return IsComponent(component) ? component->Registration().version : 0;
}

OSErr GetComponentInfo(Component component, ComponentDescription* description, Handle name,
                       Handle info, Handle icon) {
    const auto instance = reinterpret_cast<ComponentInstance>(component);
    if (IsInstance(instance)) {
        component = instance->component;
    } else if (!IsComponent(component)) {
        return invalidComponentID;
    }
    if (description == nullptr || name != nullptr || info != nullptr || icon != nullptr) {
        return paramErr;
    }
    *description = component->Description();
    return noErr;
}

void SetComponentInstanceStorage(ComponentInstance instance, void* storage) {
    if (IsInstance(instance)) {
        instance->storage = storage;
    }
}

void* GetComponentInstanceStorage(ComponentInstance instance) {
    return instance != nullptr ? instance->storage : nullptr;
}
