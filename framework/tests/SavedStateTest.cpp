#include "framework/StateDictionary.h"
#include "framework/tests/TestInstrument.h"
#include "platform/CFNumber.h"
#include "platform/CFPropertyList.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace velnor {
namespace {

constexpr UInt32 kGlobal = kAudioUnitScope_Global;
constexpr UInt32 kOutput = kAudioUnitScope_Output;
using State = CFRef<CFMutableDictionaryRef>;

/// Global element: 0 = 1.0 and 5 = 0.5.
const std::string kExample = "00000000 00000000 00000002 00000000 3F800000 00000005 3F000000 ";

std::vector<UInt8> FromHex(const std::string& hex) {
    std::vector<UInt8> bytes;
    for (size_t i = 0; i + 1 < hex.size(); i += hex[i] == ' ' ? 1 : 2) {
        if (hex[i] != ' ') {
            bytes.push_back(static_cast<UInt8>(std::stoi(hex.substr(i, 2), nullptr, 16)));
        }
    }
    return bytes;
}

State Saved(const OpenInstrument& unit) {
    CFPropertyListRef state = nullptr;
    EXPECT_EQ(unit.Get(kAudioUnitProperty_ClassInfo, kGlobal, 0, state), noErr);
    return State(static_cast<CFMutableDictionaryRef>(const_cast<void*>(state)));
}

OSStatus Restore(const OpenInstrument& unit, CFTypeRef state) {
    return unit.Set(kAudioUnitProperty_ClassInfo, kGlobal, 0, state);
}

std::vector<UInt8> BlobOf(const State& state) {
    const CFDataRef data = GetData(state.Get(), "data");
    const UInt8* const bytes = CFDataGetBytePtr(data);
    return {bytes, bytes + CFDataGetLength(data)};
}

/// What a unit saves, with this as its blob.
State WithBlob(const OpenInstrument& unit, const std::vector<UInt8>& bytes) {
    State state = Saved(unit);
    const CFRef<CFDataRef> data(
        CFDataCreate(nullptr, bytes.data(), static_cast<CFIndex>(bytes.size())));
    AddToDictionary(state.Get(), "data", data.Get());
    return state;
}

std::string Text(CFStringRef string) {
    char text[64] = "(none)";
    if (string != nullptr) {
        CFStringGetCString(string, text, sizeof text, kCFStringEncodingUTF8);
    }
    return text;
}

/// -1 where the parameter was never set.
Float32 Parameter(const OpenInstrument& unit, UInt32 id, UInt32 scope = kGlobal,
                  UInt32 element = 0) {
    Float32 value = -1;
    AudioUnitGetParameter(unit, id, scope, element, &value);
    return value;
}

std::string ElementName(const OpenInstrument& unit, UInt32 scope, UInt32 element) {
    CFStringRef name = nullptr;
    unit.Get(kAudioUnitProperty_ElementName, scope, element, name);
    return Text(CFRef<CFStringRef>(name).Get());
}

void NameElement(const OpenInstrument& unit, UInt32 scope, UInt32 element, const char* name) {
    const CFRef<CFStringRef> text(CFStringCreateWithCString(nullptr, name, kCFStringEncodingUTF8));
    EXPECT_EQ(unit.Set(kAudioUnitProperty_ElementName, scope, element, text.Get()), noErr);
}

void CountChange(void* userData, AudioUnit, AudioUnitPropertyID, AudioUnitScope scope,
                 AudioUnitElement element) {
    *static_cast<std::string*>(userData) += std::to_string(scope * 10 + element) + " ";
}

TEST(SavedState, HoldsIdentityNameAndParametersByteForByte) {
    const CFIndex alive = PlatformLiveObjectCount();
    {
        OpenInstrument unit({.inputs = 1, .outputs = 2, .groups = 1});
        unit->mOffersAll = false;
        EXPECT_TRUE(BlobOf(Saved(unit)).empty());
        AudioUnitSetParameter(unit, 5, kGlobal, 0, 0.5f, 0);
        AudioUnitSetParameter(unit, 0, kGlobal, 0, 1.0f, 0);
        const State state = Saved(unit);
        EXPECT_EQ(BlobOf(state), FromHex(kExample));
        EXPECT_EQ(GetSInt32(state.Get(), "version"), 0);
        EXPECT_EQ(GetSInt32(state.Get(), "type"), 0x61756D75);
        EXPECT_EQ(GetSInt32(state.Get(), "subtype"), static_cast<SInt32>(kTestSubType));
        EXPECT_EQ(GetSInt32(state.Get(), "manufacturer"), static_cast<SInt32>(kTestManufacturer));
        EXPECT_EQ(Text(GetString(state.Get(), "name")), "Untitled");
        EXPECT_EQ(CFDictionaryGetCount(state.Get()), 6);

        AudioUnitSetParameter(unit, 0xFFFFFFFF, kOutput, 1, -2.0f, 0);
        AudioUnitSetParameter(unit, 1, kAudioUnitScope_Input, 0, 0.0f, 0);
        EXPECT_EQ(BlobOf(Saved(unit)),
                  FromHex(kExample + "00000001 00000000 00000001 00000001 00000000"
                                     "00000002 00000001 00000001 FFFFFFFF C0000000"));
    }
    EXPECT_EQ(PlatformLiveObjectCount(), alive);
}

TEST(SavedState, RestoreBringsBackWhatWasSaved) {
    OpenInstrument from({.outputs = 2, .groups = 2});
    AudioUnitSetParameter(from, 3, kOutput, 1, 0.75f, 0);
    from->mQuality = 99;
    from->mLoad = 0.875f;
    const CFRef<CFStringRef> name = MakeKey("Mine");
    from.Set(kAudioUnitProperty_PresentPreset, kGlobal, 0, AUPreset{-7, name.Get()});
    NameElement(from, kOutput, 1, "Drums");
    NameElement(from, kAudioUnitScope_Group, 0, "Lead");
    const State state = Saved(from);
    AddNumToDictionary(state.Get(), "type", SInt32{1}); // nobody compares it

    OpenInstrument to({.outputs = 2, .groups = 2});
    std::string changes;
    AudioUnitAddPropertyListener(to, kAudioUnitProperty_CurrentPreset, CountChange, &changes);
    AudioUnitAddPropertyListener(to, kAudioUnitProperty_PresentPreset, CountChange, &changes);
    ASSERT_EQ(Restore(to, state.Get()), noErr);
    EXPECT_EQ(changes, "0 0 ");
    EXPECT_EQ(Parameter(to, 3, kOutput, 1), 0.75f);
    EXPECT_EQ(to->mQuality, 99u);
    EXPECT_EQ(to->mLoad, 0.875f);
    EXPECT_EQ(to->GetCurrentPreset().presetNumber, -1);
    EXPECT_EQ(Text(to->GetCurrentPreset().presetName), "Mine");
    EXPECT_EQ(ElementName(to, kOutput, 1), "Drums");
    EXPECT_EQ(ElementName(to, kAudioUnitScope_Group, 0), "Lead");

    CFDictionaryRemoveValue(state.Get(), MakeKey("name").Get());
    ASSERT_EQ(Restore(to, state.Get()), noErr);
    EXPECT_EQ(Text(to->GetCurrentPreset().presetName), "Untitled");
}

TEST(SavedState, RefusedDictionaryChangesNothing) {
    OpenInstrument unit;
    const CFRef<CFStringRef> text = MakeKey("0");
    const SInt32 one = 1;
    const CFRef<CFNumberRef> number(CFNumberCreate(nullptr, kCFNumberSInt32Type, &one));
    const auto restoreWith = [&](const char* key, CFTypeRef value) {
        const State state = WithBlob(unit, FromHex(kExample));
        if (value != nullptr) {
            AddToDictionary(state.Get(), key, value);
        } else {
            CFDictionaryRemoveValue(state.Get(), MakeKey(key).Get());
        }
        return Restore(unit, state.Get());
    };
    for (const char* key : {"version", "subtype", "manufacturer"}) {
        for (const CFTypeRef value :
             {CFTypeRef(nullptr), CFTypeRef(number.Get()), CFTypeRef(text.Get())}) {
            EXPECT_EQ(restoreWith(key, value), kAudioUnitErr_InvalidPropertyValue) << key;
        }
    }
    EXPECT_EQ(restoreWith("part", text.Get()), kAudioUnitErr_InvalidPropertyValue);
    EXPECT_EQ(Restore(unit, text.Get()), kAudioUnitErr_InvalidPropertyValue);
    EXPECT_EQ(Restore(unit, nullptr), kAudioUnitErr_InvalidPropertyValue);
    EXPECT_EQ(Parameter(unit, 5), -1);
    for (const char* key : {"name", "render-quality", "cpu-load", "element-name"}) {
        EXPECT_EQ(restoreWith(key, std::string(key) == "name" ? CFTypeRef(number.Get())
                                                              : CFTypeRef(text.Get())),
                  noErr)
            << key << " of a foreign type counts as absent";
    }
    EXPECT_EQ(Text(unit->GetCurrentPreset().presetName), "Untitled");
}

TEST(SavedState, UnitWithoutARegistrationAnswersTheRegistrysError) {
    TestInstrument::sShape = {};
    TestInstrument unit(nullptr);
    unit.PostConstructor();
    CFPropertyListRef state = nullptr;
    EXPECT_EQ(unit.SaveState(&state), invalidComponentID);
    EXPECT_EQ(state, nullptr);
    EXPECT_EQ(unit.RestoreState(MakeDictionary().Get()), invalidComponentID);
}

TEST(SavedState, BlobIsReadUpToItsLastWholeRecord) {
    const auto blob = FromHex(kExample + "00000002 00000001 00000001 00000009 40000000");
    for (size_t length = 0; length <= blob.size(); ++length) {
        OpenInstrument unit({.outputs = 2});
        const std::vector<UInt8> cut(blob.data(), blob.data() + length);
        EXPECT_EQ(Restore(unit, WithBlob(unit, cut).Get()), noErr);
        EXPECT_EQ(Parameter(unit, 0), length >= 28 ? 1.0f : -1.0f) << length;
        EXPECT_EQ(Parameter(unit, 5), length >= 28 ? 0.5f : -1.0f) << length;
        EXPECT_EQ(Parameter(unit, 9, kOutput, 1), length == blob.size() ? 2.0f : -1.0f) << length;
    }
}

TEST(SavedState, HostileRecordEndsTheWalkAndKeepsWhatStoodBefore) {
    struct Case {
        const char* record;
        OSStatus status;
        Float32 after; // parameter 1, which the record behind it sets to 2.0
    };
    const std::string valid = "00000000 00000000 00000001 00000001 40000000";
    for (const Case& c : {Case{"00000000 00000000 FFFFFFFF ", noErr, -1},
                          {"00000000 00000000 80000000 ", noErr, -1},
                          {"00000000 00000000 20000001 ", noErr, -1},
                          {"00000002 00000007 00000000 ", noErr, -1},
                          {"00000000 FFFFFFFF 00000000 ", noErr, -1},
                          {"00000005 00000000 00000000 ", kAudioUnitErr_InvalidScope, -1},
                          {"FFFFFFFF 00000000 00000000 ", kAudioUnitErr_InvalidScope, -1},
                          {"00000003 00000000 00000001 00000001 40000000 ", noErr, 2},
                          {"00000000 00000000 00000000 ", noErr, 2}}) {
        OpenInstrument unit({.outputs = 1, .groups = 1});
        const State state = WithBlob(unit, FromHex(kExample + c.record + valid));
        EXPECT_EQ(Restore(unit, state.Get()), c.status) << c.record;
        EXPECT_EQ(Parameter(unit, 5), 0.5f) << c.record;
        EXPECT_EQ(Parameter(unit, 1), c.after) << c.record;
    }
    OpenInstrument indexed({.indexedParameters = 3});
    EXPECT_EQ(BlobOf(Saved(indexed)).size(), 12u + 3 * 8);
    const State state = WithBlob(
        indexed, FromHex("00000000 00000000 00000002 00000002 3F000000 00000003 3F000000"));
    AddToDictionary(state.Get(), "name", MakeKey("New").Get());
    EXPECT_EQ(Restore(indexed, state.Get()), kAudioUnitErr_InvalidParameter);
    EXPECT_EQ(Parameter(indexed, 2), 0.5f);
    EXPECT_EQ(Text(indexed->GetCurrentPreset().presetName), "Untitled");
}

TEST(SavedState, ElementNamesGrowTheirScopeWithinItsLimit) {
    constexpr OSStatus kRefused = kAudioUnitErr_InvalidPropertyValue;
    struct Case {
        std::string key;
        OSStatus status;
        UInt32 elements;
        int named; // the element that has the name then
    };
    for (const Case& c : {Case{"3", noErr, 4, 3},
                          {"0", noErr, 2, 0},
                          {"0001", noErr, 2, 1},
                          {"1023", noErr, 1024, 1023},
                          {"1024", kRefused, 2, -1},
                          {"4294967295", kRefused, 2, -1},
                          {"4294967296", kRefused, 2, -1},
                          {std::string(31, '9'), kRefused, 2, -1},
                          {std::string(32, '0'), noErr, 2, -1},
                          {"-1", noErr, 2, -1},
                          {"", noErr, 2, -1},
                          {"1x", noErr, 2, -1},
                          {" 1", noErr, 2, -1}}) {
        OpenInstrument unit({.outputs = 2});
        unit->mOffersAll = false; // the count is not writable, and yet it grows
        std::string changes;
        AudioUnitAddPropertyListener(unit, kAudioUnitProperty_ElementCount, CountChange, &changes);
        const State state = Saved(unit);
        const State scopes = MakeDictionary();
        const State names = MakeDictionary();
        AddToDictionary(names.Get(), c.key.c_str(), MakeKey("Strings").Get());
        AddToDictionary(scopes.Get(), "2", names.Get());
        AddToDictionary(scopes.Get(), "9", names.Get());
        AddToDictionary(scopes.Get(), "1", MakeKey("no dictionary").Get());
        AddToDictionary(state.Get(), "element-name", scopes.Get());
        EXPECT_EQ(Restore(unit, state.Get()), c.status) << c.key;
        const UInt32 elements = unit->GetScope(kOutput).GetNumberOfElements();
        EXPECT_EQ(elements, c.elements) << c.key;
        EXPECT_EQ(changes, c.elements > 2 ? "20 " : "") << c.key;
        for (UInt32 i = 0; i < elements; ++i) {
            EXPECT_EQ(ElementName(unit, kOutput, i) == "Strings", static_cast<int>(i) == c.named);
        }
    }
}

TEST(SavedState, PresetFileIsAPropertyListThatOthersRead) {
    OpenInstrument unit({.outputs = 4});
    AudioUnitSetParameter(unit, 0, kGlobal, 0, 1.0f, 0);
    AudioUnitSetParameter(unit, 5, kGlobal, 0, 0.5f, 0);
    NameElement(unit, kOutput, 3, "Caf\xC3\xA9");
    const CFRef<CFDataRef> xml(CFPropertyListCreateData(nullptr, Saved(unit).Get(),
                                                        kCFPropertyListXMLFormat_v1_0, 0, nullptr));
    ASSERT_TRUE(xml);
    FILE* const python = ::popen(
        R"command(python3 -c "import plistlib, sys
sys.exit(plistlib.loads(sys.stdin.buffer.read()) != {
    'version': 0, 'type': 0x61756d75, 'subtype': 0x54737431, 'manufacturer': 0x566c6e72,
    'name': 'Untitled', 'render-quality': 17, 'cpu-load': 0.5,
    'data': bytes.fromhex('00000000 00000000 00000002 00000000 3F800000 00000005 3F000000'),
    'element-name': {'2': {'3': 'Caf\u00e9'}}})")command",
        "w");
    std::fwrite(CFDataGetBytePtr(xml.Get()), 1, static_cast<size_t>(CFDataGetLength(xml.Get())),
                python);
    EXPECT_EQ(::pclose(python), 0);

    const CFRef<CFPropertyListRef> read(
        CFPropertyListCreateWithData(nullptr, xml.Get(), 0, nullptr, nullptr));
    OpenInstrument other;
    EXPECT_EQ(Restore(other, read.Get()), noErr);
    EXPECT_EQ(Parameter(other, 5), 0.5f);
    EXPECT_EQ(ElementName(other, kOutput, 3), "Caf\xC3\xA9");
}

} // namespace
} // namespace velnor
