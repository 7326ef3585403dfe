// Restoring any property list: what is no state of the instrument is refused and changes nothing;
// what is one is restored as it says, and the state saved then is restored as itself.
#include "framework/AUScope.h"
#include "fuzz/FuzzHost.h"
#include "fuzz/PropertyListMaker.h"
#include "platform/CFData.h"
#include "platform/CFNumber.h"
#include "platform/CFPropertyList.h"

#include <algorithm>
#include <bit>
#include <map>
#include <optional>
#include <tuple>

namespace velnor::fuzz {
namespace {

constexpr UInt32 kScopes = 5;
constexpr UInt64 kLongestKey = 31;

// Property lists as they are read here, apart from the code that is tested.

CFTypeRef ValueOf(CFTypeRef dictionary, const char* key, CFTypeID type) {
    const CFTypeRef value =
        CFDictionaryGetValue(static_cast<CFDictionaryRef>(dictionary), Key(key).Get());
    return value != nullptr && CFGetTypeID(value) == type ? value : nullptr;
}

bool NumberIs(CFTypeRef state, const char* key, OSType code) {
    const CFTypeRef number = ValueOf(state, key, CFNumberGetTypeID());
    Float64 value = 0;
    if (number == nullptr) {
        return false;
    }
    CFNumberGetValue(static_cast<CFNumberRef>(number), kCFNumberFloat64Type, &value);
    return value == static_cast<SInt32>(code);
}

bool IsState(CFTypeRef value, AudioUnit unit) {
    ComponentDescription own = {};
    FUZZ_CHECK(GetComponentInfo(PlatformComponentOfInstance(unit), &own, nullptr, nullptr,
                                nullptr) == noErr);
    return value != nullptr && CFGetTypeID(value) == CFDictionaryGetTypeID() &&
           !CFDictionaryContainsKey(static_cast<CFDictionaryRef>(value), Key("part").Get()) &&
           NumberIs(value, "version", 0) && NumberIs(value, "subtype", own.componentSubType) &&
           NumberIs(value, "manufacturer", own.componentManufacturer);
}

std::vector<UInt8> BytesOf(CFTypeRef data) {
    if (data == nullptr) {
        return {};
    }
    const UInt8* const bytes = CFDataGetBytePtr(static_cast<CFDataRef>(data));
    return {bytes, bytes + CFDataGetLength(static_cast<CFDataRef>(data))};
}

// The index that a key writes, at most kMaximumElementsPerScope.
std::optional<UInt64> IndexOf(CFStringRef key) {
    char text[kLongestKey + 1];
    if (!CFStringGetCString(key, text, sizeof text, kCFStringEncodingASCII) || *text == '\0') {
        return std::nullopt;
    }
    UInt64 index = 0;
    for (const char* c = text; *c != '\0'; ++c) {
        if (*c < '0' || *c > '9') {
            return std::nullopt;
        }
        index =
            std::min<UInt64>(index * 10 + static_cast<UInt64>(*c - '0'), kMaximumElementsPerScope);
    }
    return index;
}

// What a restore should come to.
class Expectation {
public:
    Expectation(CFTypeRef state, const std::array<UInt32, kScopes>& counts) : mCounts(counts) {
        ReadBlob(BytesOf(ValueOf(state, "data", CFDataGetTypeID())));
        const CFTypeRef names = ValueOf(state, "element-name", CFDictionaryGetTypeID());
        for (UInt32 scope = 0; scope < kScopes && names != nullptr && status == noErr; ++scope) {
            ReadNames(scope,
                      ValueOf(names, std::to_string(scope).c_str(), CFDictionaryGetTypeID()));
        }
    }

    OSStatus status = noErr;
    std::map<std::tuple<UInt32, UInt32, UInt32>, UInt32> parameters; // scope, element, id: bits
    const std::array<UInt32, kScopes>& Counts() const { return mCounts; }

private:
    void ReadBlob(const std::vector<UInt8>& blob) {
        std::size_t at = 0;
        const auto left = [&] { return (blob.size() - at) / 4; };
        const auto word = [&] {
            at += 4;
            return static_cast<UInt32>(blob[at - 4] << 24 | blob[at - 3] << 16 | blob[at - 2] << 8 |
                                       blob[at - 1]);
        };
        while (left() >= 2) {
            const UInt32 scope = word();
            const UInt32 element = word();
            if (scope >= kScopes) {
                status = kAudioUnitErr_InvalidScope;
            }
            if (scope >= kScopes || element >= mCounts[scope] || left() < 1) {
                return;
            }
            const UInt64 count = word();
            if (left() < 2 * count) {
                return;
            }
            for (UInt64 i = 0; i < count; ++i) {
                const UInt32 id = word();
                parameters[{scope, element, id}] = word();
            }
        }
    }

    void ReadNames(UInt32 scope, CFTypeRef names) {
        if (names == nullptr) {
            return;
        }
        const auto dictionary = static_cast<CFDictionaryRef>(names);
        std::vector<const void*> keys(static_cast<std::size_t>(CFDictionaryGetCount(dictionary)));
        CFDictionaryGetKeysAndValues(dictionary, keys.data(), nullptr);
        UInt64 count = mCounts[scope];
        for (const void* key : keys) {
            const auto index = IndexOf(static_cast<CFStringRef>(key));
            if (index && *index < kMaximumElementsPerScope) {
                count = std::max(count, *index + 1);
            }
        }
        mCounts[scope] = static_cast<UInt32>(count);
    }

    std::array<UInt32, kScopes> mCounts;
};

void Count(void* count, AudioUnit, AudioUnitPropertyID, AudioUnitScope, AudioUnitElement) {
    ++*static_cast<int*>(count);
}

class Session {
public:
    Session(const Variant& variant, bool isInitialized)
        : mUnit(FuzzHost::Shared().Open(variant)),
          mIsConnected(variant.hasEngine && isInitialized) {
        if (isInitialized) {
            FUZZ_CHECK(AudioUnitInitialize(mUnit) == noErr);
        }
        for (const AudioUnitPropertyID id :
             {kAudioUnitProperty_CurrentPreset, kAudioUnitProperty_PresentPreset}) {
            FUZZ_CHECK(AudioUnitAddPropertyListener(mUnit, id, Count, &mPresetChanges) == noErr);
        }
    }
    ~Session() { FUZZ_CHECK(CloseComponent(mUnit) == noErr); }
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    CFRef<CFTypeRef> Save() {
        CFRef<CFTypeRef> state;
        UInt32 size = sizeof(CFTypeRef);
        FUZZ_CHECK(AudioUnitGetProperty(mUnit, kAudioUnitProperty_ClassInfo, kAudioUnitScope_Global,
                                        0, state.Out(), &size) == noErr);
        return state;
    }

    void Try(CFTypeRef value) {
        const CFRef<CFTypeRef> before = Save();
        if (!IsState(value, mUnit)) {
            FUZZ_CHECK(Restore(value) == kAudioUnitErr_InvalidPropertyValue);
            FUZZ_CHECK(CFEqual(Save().Get(), before.Get()));
            FUZZ_CHECK(mPresetChanges == 0 && Chunks().empty());
            return;
        }
        const Expectation expected(value, Counts());
        FUZZ_CHECK(Restore(value) == expected.status);
        FUZZ_CHECK(Counts() == expected.Counts());
        CheckParameters(expected);
        const CFTypeRef chunk = ValueOf(value, "OrmoData", CFDataGetTypeID());
        const bool reachesEngine = expected.status == noErr && chunk != nullptr && mIsConnected;
        const std::vector<std::vector<UInt8>> chunks = Chunks();
        FUZZ_CHECK(chunks.size() == (reachesEngine ? 1 : 0));
        FUZZ_CHECK(!reachesEngine || chunks[0] == BytesOf(chunk));
        if (expected.status == noErr) {
            CheckPreset(value);
        }
        CheckSavedState();
    }

private:
    OSStatus Restore(CFTypeRef value) {
        return AudioUnitSetProperty(mUnit, kAudioUnitProperty_ClassInfo, kAudioUnitScope_Global, 0,
                                    &value, sizeof value);
    }

    std::array<UInt32, kScopes> Counts() {
        std::array<UInt32, kScopes> counts{};
        for (UInt32 scope = 0; scope < kScopes; ++scope) {
            UInt32 size = sizeof(UInt32);
            FUZZ_CHECK(AudioUnitGetProperty(mUnit, kAudioUnitProperty_ElementCount, scope, 0,
                                            &counts[scope], &size) == noErr);
        }
        return counts;
    }

    static std::vector<std::vector<UInt8>> Chunks() {
        std::vector<std::vector<UInt8>> chunks;
        for (const probe::Call& call : testing::callsOf(kOpSetChunk)) {
            chunks.emplace_back(call.bytes[0].begin(), call.bytes[0].end());
        }
        return chunks;
    }

    void CheckParameters(const Expectation& expected) {
        for (const auto& [at, bits] : expected.parameters) {
            const auto [scope, element, id] = at;
            Float32 value = 0;
            if (scope == kAudioUnitScope_Group) {
                continue;
            }
            FUZZ_CHECK(AudioUnitGetParameter(mUnit, id, scope, element, &value) == noErr);
            FUZZ_CHECK(std::bit_cast<UInt32>(value) == bits);
        }
    }

    void CheckPreset(CFTypeRef state) {
        AUPreset preset = {};
        UInt32 size = sizeof preset;
        FUZZ_CHECK(AudioUnitGetProperty(mUnit, kAudioUnitProperty_PresentPreset,
                                        kAudioUnitScope_Global, 0, &preset, &size) == noErr);
        const CFRef<CFStringRef> name(preset.presetName);
        const CFTypeRef saved = ValueOf(state, "name", CFStringGetTypeID());
        FUZZ_CHECK(CFEqual(name.Get(), saved != nullptr ? saved : Key("Untitled").Get()));
        FUZZ_CHECK(preset.presetNumber == -1 && mPresetChanges == 2);
    }

    // Read from a file, too, it restores what was saved.
    void CheckSavedState() {
        const CFRef<CFTypeRef> saved = Save();
        const CFRef<CFDataRef> file(CFPropertyListCreateData(
            kCFAllocatorDefault, saved.Get(), kCFPropertyListBinaryFormat_v1_0, 0, nullptr));
        FUZZ_CHECK(bool(file));
        const CFRef<CFTypeRef> read(CFPropertyListCreateWithData(
            kCFAllocatorDefault, file.Get(), kCFPropertyListImmutable, nullptr, nullptr));
        FUZZ_CHECK(read && CFEqual(read.Get(), saved.Get()));
        FUZZ_CHECK(Restore(read.Get()) == noErr);
        FUZZ_CHECK(CFEqual(Save().Get(), saved.Get()));
    }

    const AudioUnit mUnit;
    const bool mIsConnected;
    int mPresetChanges = 0;
};

} // namespace
} // namespace velnor::fuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    using namespace velnor;
    FuzzedDataProvider input(data, size);
    const fuzz::Variant variant = {input.ConsumeBool(), input.ConsumeBool()};
    {
        fuzz::Session session(variant, input.ConsumeBool());
        CFRef<CFTypeRef> value;
        if (input.ConsumeBool()) {
            const auto bytes = input.ConsumeRemainingBytes<UInt8>();
            const CFRef<CFDataRef> file(CFDataCreate(kCFAllocatorDefault, bytes.data(),
                                                     static_cast<CFIndex>(bytes.size())));
            value.Reset(CFPropertyListCreateWithData(kCFAllocatorDefault, file.Get(),
                                                     kCFPropertyListImmutable, nullptr, nullptr));
        } else {
            const CFRef<CFTypeRef> own = session.Save();
            value = fuzz::PropertyListMaker(input).Mutated(static_cast<CFDictionaryRef>(own.Get()));
        }
        session.Try(value.Get());
    }
    fuzz::FuzzHost::Shared().CheckNothingIsLeft();
    return 0;
}
