// The object behind Component: a registration and, while instances are open, the code that serves
// it. Thread main, exclusive, may block.
#ifndef VELNOR_PLATFORM_COMPONENTS_COMPONENTRECORD_H
#define VELNOR_PLATFORM_COMPONENTS_COMPONENTRECORD_H

#include "platform/CFBundle.h"
#include "platform/CFRef.h"
#include "platform/components/ComponentRegistration.h"

#include <string>

struct OpaqueComponent {
public:
    // Served by the bundle at this path.
    OpaqueComponent(velnor::ComponentRegistration registration, std::string bundlePath);
    // Served by a function of the program itself.
    OpaqueComponent(velnor::ComponentRegistration registration, ComponentEntry linkedEntry);

    const velnor::ComponentRegistration& Registration() const { return mRegistration; }
    ComponentDescription Description() const;
    // Empty for a linked component.
    const std::string& BundlePath() const { return mBundlePath; }
    // Why the code could not be had the last time that it could not; empty when it always could.
    const std::string& OpenError() const { return mOpenError; }
    SInt32 InstanceCount() const { return mInstances; }

    // Counts an instance; the first one loads the code. Null, and nothing counted, when the bundle
    // does not load or lacks the entry.
    ComponentEntry AddInstance();
    // The last one gives the code back.
    void RemoveInstance();

private:
    ComponentEntry Load();

    velnor::ComponentRegistration mRegistration;
    std::string mBundlePath;
    ComponentEntry mLinkedEntry = nullptr;
    velnor::CFRef<CFBundleRef> mBundle;
    ComponentEntry mEntry = nullptr;
    SInt32 mInstances = 0;
    std::string mOpenError;
};

namespace velnor {

// Null when there is no bundle at this path.
CFRef<CFBundleRef> CreateBundleAtPath(const std::string& path);

} // namespace velnor

#endif
