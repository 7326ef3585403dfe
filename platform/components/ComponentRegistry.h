// All registrations of the process. Thread main, exclusive, may
// block.
#ifndef VELNOR_PLATFORM_COMPONENTS_COMPONENTREGISTRY_H
#define VELNOR_PLATFORM_COMPONENTS_COMPONENTREGISTRY_H

#include "platform/components/ComponentRecord.h"

#include <memory>
#include <string>
#include <vector>

namespace velnor {

// Records live as the process. Those that a search can find are listed: what the program
// registered itself in its order, then what the folders hold; of several with the same codes only
// the first.
class ComponentRegistry {
public:
    // Never destroyed.
    static ComponentRegistry& Shared();

    Component RegisterEntry(ComponentRegistration registration, ComponentEntry entry);
    // As PlatformRegisterComponentBundle.
    OSStatus RegisterBundle(const std::string& path, std::vector<Component>& components);
    // Reads the folders anew. A bundle that is gone is no longer listed.
    void Rescan();

    // Reads the folders at the first call.
    const std::vector<Component>& Listed();
    // What is registered or found of the bundle at a path, listed or not.
    std::vector<Component> OfBundle(const std::string& path);
    // Whether it is one of the records; does not look behind the pointer.
    bool Knows(Component component) const;

private:
    std::vector<Component> AdoptBundle(const std::string& path,
                                       const std::vector<ComponentRegistration>& registrations);
    Component FindOrCreate(const std::string& path, const ComponentRegistration& registration);
    void Relist();

    std::vector<std::unique_ptr<OpaqueComponent>> mRecords;
    std::vector<Component> mRegistered;
    std::vector<Component> mFound;
    std::vector<Component> mListed;
    bool mScanned = false;
};

} // namespace velnor

#endif
