// The root of every component class: the instance handle, and the selectors that all components
// serve.
#ifndef VELNOR_FRAMEWORK_COMPONENTBASE_H
#define VELNOR_FRAMEWORK_COMPONENTBASE_H

#include "platform/Components.h"
#include "platform/Facts.h"

namespace velnor {

/// Made by ComponentEntryPoint on open, destroyed by the close selector. Thread main, exclusive,
/// may block, except where a derived class says otherwise. Beneath the entry every operation may
/// throw an OSStatus, an OSErr or std::bad_alloc; the entry answers it as a status.
class ComponentBase {
public:
    explicit ComponentBase(ComponentInstance inInstance);
    ComponentBase(const ComponentBase&) = delete;
    ComponentBase& operator=(const ComponentBase&) = delete;
    virtual ~ComponentBase();

    /// Major version in the upper 16 bits, minor in bits 8 to 15, revision below; 1 by default.
    virtual ComponentResult Version();
    /// Called once the whole object is constructed and before the host can reach it. When it
    /// throws, the open fails and the object is destroyed, without PreDestructor.
    virtual void PostConstructor();
    /// Called before the whole object is destroyed, which happens also when this throws.
    virtual void PreDestructor();

    /// Thread any, concurrent, nonblocking.
    ComponentInstance GetComponentInstance() const VELNOR_NONBLOCKING { return mComponentInstance; }

    /// The registration's codes. The component manager's error, sign-extended.
    OSStatus GetComponentDescription(ComponentDescription& outDescription) const;

    /// The innermost layer of the dispatch: close, version and can-do. badComponentSelector: any
    /// other selector. paramErr: a null instance, or a block too small for the selector's
    /// arguments. The object is gone after close.
    static ComponentResult ComponentEntryDispatch(ComponentParameters* inParams,
                                                  ComponentBase* inThis);

private:
    const ComponentInstance mComponentInstance;
};

} // namespace velnor

#endif
