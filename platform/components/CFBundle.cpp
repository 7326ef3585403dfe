#include "platform/CFBundle.h"

#include "platform/CFData.h"
#include "platform/CFPropertyList.h"
#include "platform/CFRef.h"
#include "platform/components/BundleExecutable.h"
#include "platform/files/FileSystem.h"
#include "platform/values/CFObject.h"
#include "platform/values/CFStringObject.h"

#include <map>
#include <mutex>

namespace velnor {
namespace {

constexpr std::size_t kMaximumInfoFile = std::size_t{4} << 20;

class BundleObject final : public CFObjectOf<BundleObject> {
public:
    BundleObject(std::string path, CFRef<CFDictionaryRef> info)
        : mPath(std::move(path)), mInfo(std::move(info)) {}
    ~BundleObject() override;

    const std::string& Path() const { return mPath; }
    CFDictionaryRef Info() const { return mInfo.Get(); }
    bool Load();
    void* Find(const std::string& name);
    const char* Error();

    void ForEachChild(const std::function<void(CFObject&)>& visit) const override {
        visit(ObjectOf(mInfo.Get()));
    }

private:
    bool IsLoaded();
    // Remembers the outcome for Error; an empty text is success.
    void SetError(std::string error);

    const std::string mPath;
    const CFRef<CFDictionaryRef> mInfo;
    std::mutex mMutex; // guards what follows; never held while foreign code runs
    LoadedImage mImage;
    std::string mError;
};

// The live bundles by their canonical paths, none of them owned.
struct BundleTable {
    std::mutex mutex;
    std::map<std::string, BundleObject*> bundles;
};

BundleTable& Table() {
    static BundleTable* const table = new BundleTable;
    return *table;
}

BundleObject::~BundleObject() {
    auto& table = Table();
    const std::lock_guard lock(table.mutex);
    const auto entry = table.bundles.find(mPath);
    if (entry != table.bundles.end() && entry->second == this) {
        table.bundles.erase(entry);
    }
}

bool BundleObject::IsLoaded() {
    const std::lock_guard lock(mMutex);
    return mImage != nullptr;
}

void BundleObject::SetError(std::string error) {
    const std::lock_guard lock(mMutex);
    mError = std::move(error);
}

bool BundleObject::Load() {
    std::string error;
    if (!IsLoaded()) {
        const std::string path = FindBundleExecutable(mPath, Info(), error);
        LoadedImage image = path.empty() ? nullptr : LoadImage(path, error);
        const std::lock_guard lock(mMutex);
        if (!mImage) {
            mImage.swap(image);
        }
    }
    const bool loaded = IsLoaded();
    SetError(loaded ? std::string() : std::move(error));
    return loaded;
}

void* BundleObject::Find(const std::string& name) {
    if (!Load()) {
        return nullptr;
    }
    std::string error;
    void* const function = FindInImage(mImage, name, error);
    SetError(std::move(error));
    return function;
}

const char* BundleObject::Error() {
    const std::lock_guard lock(mMutex);
    return mError.c_str();
}

CFRef<CFDictionaryRef> ReadInfo(const std::string& bundle) {
    const auto content = ReadRegularFile(bundle + "/Contents/Info.plist", kMaximumInfoFile);
    if (!content) {
        return {};
    }
    const CFRef<CFDataRef> data(CFDataCreate(kCFAllocatorDefault,
                                             reinterpret_cast<const UInt8*>(content->data()),
                                             static_cast<CFIndex>(content->size())));
    CFRef<CFPropertyListRef> tree(CFPropertyListCreateWithData(
        kCFAllocatorDefault, data.Get(), kCFPropertyListImmutable, nullptr, nullptr));
    if (!tree || CFGetTypeID(tree.Get()) != CFDictionaryGetTypeID()) {
        return {};
    }
    return CFRef<CFDictionaryRef>(static_cast<CFDictionaryRef>(tree.Detach()));
}

// The path of a directory URL's object without links; empty when there is none.
std::string CanonicalFolder(CFURLRef url) {
    UInt8 path[sizeof(FSRef::path)];
    if (!CFURLGetFileSystemRepresentation(url, true, path, sizeof path)) {
        return {};
    }
    const auto canonical = CanonicalPath(reinterpret_cast<const char*>(path));
    return canonical && IsFolder(*canonical) ? *canonical : std::string();
}

// The live bundle of that path, retained, or null.
CFBundleRef FindLive(BundleTable& table, const std::string& path) {
    const auto entry = table.bundles.find(path);
    const bool alive = entry != table.bundles.end() && entry->second->RetainIfAlive();
    return alive ? RefOf<CFBundleRef>(entry->second) : nullptr;
}

CFBundleRef CreateBundle(const std::string& path) {
    auto& table = Table();
    {
        const std::lock_guard lock(table.mutex);
        if (const CFBundleRef live = FindLive(table, path)) {
            return live;
        }
    }
    auto info = ReadInfo(path);
    if (!info) {
        return nullptr;
    }
    auto* const object = new BundleObject(path, std::move(info));
    CFRef<CFBundleRef> bundle(RefOf<CFBundleRef>(object)); // takes the table's lock when it goes
    const std::lock_guard lock(table.mutex);
    if (const CFBundleRef live = FindLive(table, path)) {
        return live;
    }
    table.bundles.insert_or_assign(path, object);
    return bundle.Detach();
}

} // namespace
} // namespace velnor

using velnor::BundleObject;
using velnor::Cast;

const CFStringRef kCFBundleVersionKey = velnor::ImmortalString("CFBundleVersion");
const CFStringRef kCFBundleExecutableKey = velnor::ImmortalString("CFBundleExecutable");

CFTypeID CFBundleGetTypeID(void) {
    return BundleObject::StaticTypeID();
}

CFBundleRef CFBundleCreate(CFAllocatorRef, CFURLRef url) {
    const std::string path = url ? velnor::CanonicalFolder(url) : std::string();
    return path.empty() ? nullptr : velnor::CreateBundle(path);
}

CFURLRef CFBundleCopyBundleURL(CFBundleRef bundle) {
    const auto& path = Cast<BundleObject>(bundle).Path();
    return CFURLCreateFromFileSystemRepresentation(kCFAllocatorDefault,
                                                   reinterpret_cast<const UInt8*>(path.data()),
                                                   static_cast<CFIndex>(path.size()), true);
}

CFDictionaryRef CFBundleGetInfoDictionary(CFBundleRef bundle) {
    return Cast<BundleObject>(bundle).Info();
}

CFTypeRef CFBundleGetValueForInfoDictionaryKey(CFBundleRef bundle, CFStringRef key) {
    return CFDictionaryGetValue(CFBundleGetInfoDictionary(bundle), key);
}

Boolean CFBundleLoadExecutable(CFBundleRef bundle) {
    return Cast<BundleObject>(bundle).Load();
}

void* CFBundleGetFunctionPointerForName(CFBundleRef bundle, CFStringRef name) {
    return Cast<BundleObject>(bundle).Find(velnor::TextOf(name));
}

const char* PlatformBundleGetLoadError(CFBundleRef bundle) {
    return Cast<BundleObject>(bundle).Error();
}
