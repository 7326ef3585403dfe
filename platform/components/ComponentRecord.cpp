#include "platform/components/ComponentRecord.h"

#include "platform/components/ForeignCodeScope.h"
#include "platform/values/CFStringObject.h"

#include <utility>

namespace velnor {

CFRef<CFBundleRef> CreateBundleAtPath(const std::string& path) {
    const CFRef<CFURLRef> url(CFURLCreateFromFileSystemRepresentation(
        kCFAllocatorDefault, reinterpret_cast<const UInt8*>(path.data()),
        static_cast<CFIndex>(path.size()), true));
    return CFRef<CFBundleRef>(url ? CFBundleCreate(kCFAllocatorDefault, url.Get()) : nullptr);
}

} // namespace velnor

using velnor::CFRef;

OpaqueComponent::OpaqueComponent(velnor::ComponentRegistration registration, std::string bundlePath)
    : mRegistration(std::move(registration)), mBundlePath(std::move(bundlePath)) {}

OpaqueComponent::OpaqueComponent(velnor::ComponentRegistration registration,
                                 ComponentEntry linkedEntry)
    : mRegistration(std::move(registration)), mLinkedEntry(linkedEntry) {}

ComponentDescription OpaqueComponent::Description() const {
    return {mRegistration.type, mRegistration.subType, mRegistration.manufacturer, 0, 0};
}

ComponentEntry OpaqueComponent::Load() {
    CFRef<CFBundleRef> bundle = velnor::CreateBundleAtPath(mBundlePath);
    if (!bundle) {
        mOpenError = "no bundle at " + mBundlePath;
        return nullptr;
    }
    const CFRef<CFStringRef> name(velnor::CreateString(mRegistration.entry));
    void* const entry = CFBundleGetFunctionPointerForName(bundle.Get(), name.Get());
    if (entry == nullptr) {
        mOpenError = PlatformBundleGetLoadError(bundle.Get());
        return nullptr;
    }
    mBundle = std::move(bundle);
    return reinterpret_cast<ComponentEntry>(entry);
}

ComponentEntry OpaqueComponent::AddInstance() {
    if (mEntry == nullptr) {
        mEntry = mLinkedEntry != nullptr ? mLinkedEntry : Load();
    }
    if (mEntry != nullptr) {
        ++mInstances;
    }
    return mEntry;
}

void OpaqueComponent::RemoveInstance() {
    if (--mInstances > 0) {
        return;
    }
    mEntry = nullptr;
    if (mBundle) {
        velnor::ReleaseAfterForeignCode(mBundle.Detach());
    }
}
