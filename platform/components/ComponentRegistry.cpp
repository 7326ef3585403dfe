#include "platform/components/ComponentRegistry.h"

#include "platform/components/ComponentFolders.h"

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <optional>
#include <utility>

namespace velnor {
namespace {

void Append(std::vector<Component>& list, const std::vector<Component>& components) {
    list.insert(list.end(), components.begin(), components.end());
}

bool Contains(const std::vector<Component>& list, Component component) {
    return std::find(list.begin(), list.end(), component) != list.end();
}

// One spelling for one bundle, so that it registers once.
std::string CanonicalPath(const std::string& path) {
    std::error_code error;
    const auto canonical = std::filesystem::canonical(path, error);
    return error ? path : canonical.string();
}

bool HasInfo(const std::string& path) {
    std::error_code error;
    return std::filesystem::exists(std::filesystem::path(path) / "Contents" / "Info.plist", error);
}

std::vector<ComponentRegistration> ReadBundle(const std::string& path) {
    const CFRef<CFBundleRef> bundle = CreateBundleAtPath(path);
    return bundle ? ReadRegistrations(CFBundleGetInfoDictionary(bundle.Get()))
                  : std::vector<ComponentRegistration>{};
}

bool IsShadowed(Component component, const std::vector<Component>& earlier) {
    return std::any_of(earlier.begin(), earlier.end(), [component](Component other) {
        return component->Registration().SameCodes(other->Registration());
    });
}

} // namespace

ComponentRegistry& ComponentRegistry::Shared() {
    static auto* const registry = new ComponentRegistry;
    return *registry;
}

Component ComponentRegistry::RegisterEntry(ComponentRegistration registration,
                                           ComponentEntry entry) {
    mRecords.push_back(std::make_unique<OpaqueComponent>(std::move(registration), entry));
    mRegistered.push_back(mRecords.back().get());
    Relist();
    return mRegistered.back();
}

OSStatus ComponentRegistry::RegisterBundle(const std::string& path,
                                           std::vector<Component>& components) {
    if (!HasInfo(path)) {
        return fnfErr;
    }
    const std::string canonical = CanonicalPath(path);
    components = AdoptBundle(canonical, ReadBundle(canonical));
    if (components.empty()) {
        return paramErr;
    }
    std::erase_if(mRegistered, [&](Component earlier) {
        return earlier->BundlePath() == canonical && !Contains(components, earlier);
    });
    for (Component component : components) {
        if (!Contains(mRegistered, component)) {
            mRegistered.push_back(component);
        }
    }
    Relist();
    return noErr;
}

void ComponentRegistry::Rescan() {
    std::vector<Component> found;
    for (const std::string& bundle : FindComponentBundles()) {
        const std::string path = CanonicalPath(bundle);
        Append(found, AdoptBundle(path, ReadBundle(path)));
    }
    mFound = std::move(found);
    Relist();
    mScanned = true;
}

const std::vector<Component>& ComponentRegistry::Listed() {
    if (!mScanned) {
        Rescan();
    }
    return mListed;
}

std::vector<Component> ComponentRegistry::OfBundle(const std::string& path) {
    Listed();
    std::vector<Component> components;
    for (const auto* list : {&mRegistered, &mFound}) {
        std::copy_if(list->begin(), list->end(), std::back_inserter(components),
                     [&](Component component) { return component->BundlePath() == path; });
    }
    return components;
}

bool ComponentRegistry::Knows(Component component) const {
    return std::any_of(mRecords.begin(), mRecords.end(),
                       [component](const auto& record) { return record.get() == component; });
}

std::vector<Component>
ComponentRegistry::AdoptBundle(const std::string& path,
                               const std::vector<ComponentRegistration>& registrations) {
    std::vector<Component> components;
    components.reserve(registrations.size());
    for (const auto& registration : registrations) {
        components.push_back(FindOrCreate(path, registration));
    }
    return components;
}

Component ComponentRegistry::FindOrCreate(const std::string& path,
                                          const ComponentRegistration& registration) {
    for (const auto& record : mRecords) {
        if (record->BundlePath() == path && record->Registration() == registration) {
            return record.get();
        }
    }
    mRecords.push_back(std::make_unique<OpaqueComponent>(registration, path));
    return mRecords.back().get();
}

void ComponentRegistry::Relist() {
    std::vector<Component> listed;
    for (const auto* list : {&mRegistered, &mFound}) {
        for (Component component : *list) {
            if (!IsShadowed(component, listed)) {
                listed.push_back(component);
            }
        }
    }
    mListed = std::move(listed);
}

} // namespace velnor
