// The outermost layer of a component class: what its exported entry is.
#ifndef VELNOR_FRAMEWORK_COMPONENTENTRYPOINT_H
#define VELNOR_FRAMEWORK_COMPONENTENTRYPOINT_H

#include "framework/ComponentBase.h"
#include "framework/ExceptionMapping.h"
#include "framework/SelectorArguments.h"

#include <memory>

namespace velnor {

/// Class derives from ComponentBase, is constructed from a ComponentInstance, and has a
/// ComponentEntryDispatch for its selectors, its own or a base's. The stored object is always the
/// ComponentBase part of the instance.
template <class Class>
class ComponentEntryPoint {
public:
    /// Serves open, passes every other selector to the object stored for the instance, and lets no
    /// exception out (StatusOf). The thread, concurrency and real-time class are the selector's.
    static ComponentResult Dispatch(ComponentParameters* inParams, void* inStorage) noexcept {
        if (inParams == nullptr) {
            return paramErr;
        }
        return StatusOf([&]() -> ComponentResult {
            if (inParams->what == kComponentOpenSelect) {
                return CallWithArguments<ComponentInstance>(inParams, Open);
            }
            return Class::ComponentEntryDispatch(inParams, Stored(inStorage));
        });
    }

private:
    static ComponentResult Open(ComponentInstance inInstance) {
        if (inInstance == nullptr) {
            return paramErr;
        }
        auto object = std::make_unique<Class>(inInstance);
        object->PostConstructor();
        SetComponentInstanceStorage(inInstance, static_cast<ComponentBase*>(object.release()));
        return noErr;
    }

    static Class* Stored(void* inStorage) {
        return static_cast<Class*>(static_cast<ComponentBase*>(inStorage));
    }
};

} // namespace velnor

#endif
