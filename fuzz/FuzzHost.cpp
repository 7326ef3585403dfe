#include "fuzz/FuzzHost.h"

#include "platform/CFString.h"
#include "platform/CFURL.h"
#include "platform/EventLoop.h"

#include <dlfcn.h>

namespace velnor::fuzz {

namespace {

constexpr int kWarmUps = 2;

} // namespace

FuzzHost& FuzzHost::Shared() {
    static FuzzHost host;
    return host;
}

FuzzHost::FuzzHost() {
    PlatformAdvanceEventLoop(0); // its clock is the fuzzer's
    Load(false, testing::builtBundle("Velnor.component"));
    Load(true, mHost.patchedComponent([](ProductRecord& record) { record.multiOutput = 1; }));
    for (int i = 0; i < kWarmUps; ++i) {
        for (const Variant variant :
             {Variant{false, false}, {false, true}, {true, false}, {true, true}}) {
            CloseComponent(OpenQuietly(variant));
            mObjects[variant.Index()] = PlatformLiveObjectCount();
        }
    }
}

void FuzzHost::Load(bool multiOutput, const std::string& bundle) {
    // A bundle object that stays is read only once.
    const CFRef<CFStringRef> path(
        CFStringCreateWithCString(kCFAllocatorDefault, bundle.c_str(), kCFStringEncodingUTF8));
    const CFRef<CFURLRef> url(
        CFURLCreateWithFileSystemPath(kCFAllocatorDefault, path.Get(), kCFURLPOSIXPathStyle, true));
    mBundles[multiOutput].Reset(CFBundleCreate(kCFAllocatorDefault, url.Get()));
    void* const image = dlopen(testing::executableOf(bundle).c_str(), RTLD_NOW | RTLD_LOCAL);
    FUZZ_CHECK(image != nullptr);
    const auto entry = [image](const char* name) {
        return reinterpret_cast<ComponentEntry>(dlsym(image, name));
    };
    mEntries[multiOutput] = {entry("SamplerAUEntry"), entry("SamplerAUViewEntry")};
    UInt32 count = 0;
    FUZZ_CHECK(PlatformRegisterComponentBundle(bundle.c_str(), mComponents[multiOutput].data(), 2,
                                               &count) == noErr);
}

AudioUnit FuzzHost::OpenQuietly(const Variant& variant) {
    if (variant.hasEngine != mEngineInstalled) {
        mHost.setEnginePath(variant.hasEngine ? std::optional(testing::builtBundle("Probe.engine"))
                                              : std::nullopt);
        mEngineInstalled = variant.hasEngine;
    }
    mOpened = variant;
    AudioUnit unit = nullptr;
    FUZZ_CHECK(PlatformOpenComponent(mComponents[variant.multiOutput][0], &unit) == noErr);
    return unit;
}

AudioUnit FuzzHost::Open(const Variant& variant, const probe::Behaviour& behaviour) {
    testing::freshProbe().behaviour = behaviour;
    mHost.alerts.Clear();
    return OpenQuietly(variant);
}

ComponentInstance FuzzHost::OpenView(const Variant& variant) {
    const ComponentInstance view = OpenComponent(mComponents[variant.multiOutput][1]);
    FUZZ_CHECK(view != nullptr);
    return view;
}

void FuzzHost::CheckNothingIsLeft() {
    const CFIndex objects = PlatformLiveObjectCount();
    const CFIndex expected = mObjects[mOpened.Index()];
    if (objects != expected) {
        std::fprintf(stderr, "%td objects instead of %td\n", objects, expected);
    }
    FUZZ_CHECK(objects == expected);
    FUZZ_CHECK(testing::freshProbe().openInstances() == 0 &&
               testing::freshProbe().openEditors() == 0);
}

} // namespace velnor::fuzz

// Before the first input makes objects.
extern "C" int LLVMFuzzerInitialize(int*, char***) {
    velnor::fuzz::FuzzHost::Shared();
    return 0;
}
