#include "framework/StateDictionary.h"
#include "framework/tests/TestInstrument.h"
#include "platform/CFNumber.h"
#include "platform/CFPropertyList.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <unistd.h>
#include <vector>

namespace velnor {
namespace {

constexpr UInt32 kGlobal = kAudioUnitScope_Global;
constexpr UInt32 kOutput = kAudioUnitScope_Output;
using Bytes = std::vector<UInt8>;
using State = CFRef<CFMutableDictionaryRef>;

Bytes FromHex(const std::string& hex) {
    Bytes bytes;
    for (size_t i = 0; i + 1 < hex.size(); i += hex[i] == ' ' ? 1 : 2) {
        if (hex[i] != ' ') {
            bytes.push_back(static_cast<UInt8>(std::stoi(hex.substr(i, 2), nullptr, 16)));
        }
    }
    return bytes;
}

/// Global element: 0 = 1.0 and 5 = 0.5.
const Bytes kExample = FromHex("00000000 00000000 00000002 00000000 3F800000 00000005 3F000000");

State Saved(const OpenInstrument& unit) {
    CFPropertyListRef state = nullptr;
    EXPECT_EQ(unit.Get(kAudioUnitProperty_ClassInfo, kGlobal, 0, state), noErr);
    return State(static_cast<CFMutableDictionaryRef>(const_cast<void*>(state)));
}

OSStatus Restore(const OpenInstrument& unit, CFTypeRef state) {
    return unit.Set(kAudioUnitProperty_ClassInfo, kGlobal, 0, state);
}

Bytes BlobOf(const State& state) {
    const CFDataRef data = GetData(state.Get(), "data");
    EXPECT_NE(data, nullptr);
    const UInt8* const bytes = CFDataGetBytePtr(data);
    return data == nullptr ? Bytes() : Bytes(bytes, bytes + CFDataGetLength(data));
}

void PutBlob(const State& state, const Bytes& bytes) {
    const CFRef<CFDataRef> data(
        CFDataCreate(nullptr, bytes.data(), static_cast<CFIndex>(bytes.size())));
    AddToDictionary(state.Get(), "data", data.Get());
}

std::string Text(CFStringRef string) {
    char text[64] = "";
    return string != nullptr && CFStringGetCString(string, text, 64, kCFStringEncodingUTF8)
               ? text
               : "(none)";
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

UInt32 Elements(const OpenInstrument& unit, UInt32 scope) {
    return unit->GetScope(scope).GetNumberOfElements();
}

TEST(SavedState, HoldsIdentityNameAndParametersByteForByte) {
    const CFIndex alive = PlatformLiveObjectCount();
    {
        OpenInstrument unit({.inputs = 1, .outputs = 2, .groups = 1});
        unit->mOffersAll = false;
        EXPECT_EQ(BlobOf(Saved(unit)), Bytes());
        AudioUnitSetParameter(unit, 5, kGlobal, 0, 0.5f, 0);
        AudioUnitSetParameter(unit, 0, kGlobal, 0, 1.0f, 0);
        const State state = Saved(unit);
        EXPECT_EQ(BlobOf(state), kExample);
        EXPECT_EQ(GetSInt32(state.Get(), "version"), 0);
        EXPECT_EQ(GetSInt32(state.Get(), "type"), 0x61756D75);
        EXPECT_EQ(GetSInt32(state.Get(), "subtype"), static_cast<SInt32>(kTestSubType));
        EXPECT_EQ(GetSInt32(state.Get(), "manufacturer"), static_cast<SInt32>(kTestManufacturer));
        EXPECT_EQ(Text(GetString(state.Get(), "name")), "Untitled");
        EXPECT_EQ(CFDictionaryGetCount(state.Get()), 6);

        AudioUnitSetParameter(unit, 0xFFFFFFFF, kOutput, 1, -2.0f, 0);
        AudioUnitSetParameter(unit, 1, kAudioUnitScope_Input, 0, 0.0f, 0);
        Bytes all = kExample;
        for (const UInt8 byte : FromHex("00000001 00000000 00000001 00000001 00000000"
                                        "00000002 00000001 00000001 FFFFFFFF C0000000")) {
            all.push_back(byte);
        }
        EXPECT_EQ(BlobOf(Saved(unit)), all);
    }
    EXPECT_EQ(PlatformLiveObjectCount(), alive);
}

TEST(SavedState, RestoreBringsBackWhatWasSaved) {
    OpenInstrument from({.outputs = 2, .groups = 2});
    AudioUnitSetParameter(from, 3, kOutput, 1, 0.75f, 0);
    from->mQuality = 99;
    from->mLoad = 0.875f;
    const CFRef<CFStringRef> name = MakeKey("Mine");
    ASSERT_EQ(from.Set(kAudioUnitProperty_PresentPreset, kGlobal, 0, AUPreset{-7, name.Get()}),
              noErr);
    NameElement(from, kOutput, 1, "Drums");
    NameElement(from, kAudioUnitScope_Group, 0, "Lead");
    const State state = Saved(from);
    AddNumToDictionary(state.Get(), "type", SInt32{1}); // nobody compares it

    OpenInstrument to({.outputs = 2, .groups = 2});
    int changes = 0;
    const auto count = [](void* data, AudioUnit, AudioUnitPropertyID, AudioUnitScope,
                          AudioUnitElement) { ++*static_cast<int*>(data); };
    AudioUnitAddPropertyListener(to, kAudioUnitProperty_CurrentPreset, count, &changes);
    AudioUnitAddPropertyListener(to, kAudioUnitProperty_PresentPreset, count, &changes);
    ASSERT_EQ(Restore(to, state.Get()), noErr);
    EXPECT_EQ(changes, 2);
    EXPECT_EQ(Parameter(to, 3, kOutput, 1), 0.75f);
    EXPECT_EQ(to->mQuality, 99u);
    EXPECT_EQ(to->mLoad, 0.875f);
    EXPECT_EQ(to->GetCurrentPreset().presetNumber, -1);
    EXPECT_EQ(Text(to->GetCurrentPreset().presetName), "Mine");
    EXPECT_EQ(ElementName(to, kOutput, 1), "Drums");
    EXPECT_EQ(ElementName(to, kAudioUnitScope_Group, 0), "Lead");
    EXPECT_TRUE(CFEqual(GetDictionary(Saved(to).Get(), "element-name"),
                        GetDictionary(state.Get(), "element-name")));

    CFDictionaryRemoveValue(state.Get(), name.Get());
    CFDictionaryRemoveValue(state.Get(), MakeKey("name").Get());
    ASSERT_EQ(Restore(to, state.Get()), noErr);
    EXPECT_EQ(Text(to->GetCurrentPreset().presetName), "Untitled");
}

TEST(SavedState, RefusedDictionaryChangesNothing) {
    OpenInstrument unit;
    AudioUnitSetParameter(unit, 0, kGlobal, 0, 0.25f, 0);
    const CFRef<CFStringRef> text = MakeKey("0");
    struct Case {
        const char* key;
        CFTypeRef value; // null: absent
    };
    const SInt32 one = 1;
    const CFRef<CFNumberRef> number(CFNumberCreate(nullptr, kCFNumberSInt32Type, &one));
    for (const Case& c : {Case{"part", text.Get()},
                          {"version", nullptr},
                          {"version", number.Get()},
                          {"version", text.Get()},
                          {"subtype", nullptr},
                          {"subtype", number.Get()},
                          {"manufacturer", nullptr},
                          {"manufacturer", number.Get()}}) {
        const State state = Saved(unit);
        PutBlob(state, kExample);
        if (c.value != nullptr) {
            AddToDictionary(state.Get(), c.key, c.value);
        } else {
            CFDictionaryRemoveValue(state.Get(), MakeKey(c.key).Get());
        }
        EXPECT_EQ(Restore(unit, state.Get()), kAudioUnitErr_InvalidPropertyValue) << c.key;
    }
    EXPECT_EQ(Restore(unit, text.Get()), kAudioUnitErr_InvalidPropertyValue);
    EXPECT_EQ(Restore(unit, nullptr), kAudioUnitErr_InvalidPropertyValue);
    EXPECT_EQ(AudioUnitSetProperty(unit, 0, kGlobal, 0, &text, 3),
              kAudioUnitErr_InvalidPropertyValue);
    EXPECT_EQ(unit.Set(0, kOutput, 0, Saved(unit).Get()), kAudioUnitErr_InvalidScope);
    EXPECT_EQ(Parameter(unit, 0), 0.25f);
    EXPECT_EQ(Parameter(unit, 5), -1);

    const State odd = Saved(unit);
    for (const char* key : {"data", "name", "render-quality", "cpu-load", "element-name"}) {
        AddToDictionary(odd.Get(), key,
                        std::string(key) == "name" ? CFTypeRef(number.Get())
                                                   : CFTypeRef(text.Get()));
    }
    EXPECT_EQ(Restore(unit, odd.Get()), noErr) << "optional values of a foreign type are no values";
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
    OpenInstrument unit({.outputs = 2});
    const State state = Saved(unit);
    const Bytes second = FromHex("00000002 00000001 00000001 00000009 40000000");
    Bytes blob = kExample;
    blob.insert(blob.end(), second.begin(), second.end());
    for (size_t length = 0; length <= blob.size(); ++length) {
        OpenInstrument fresh({.outputs = 2});
        PutBlob(state, Bytes(blob.begin(), blob.begin() + static_cast<std::ptrdiff_t>(length)));
        EXPECT_EQ(Restore(fresh, state.Get()), noErr);
        const bool first = length >= kExample.size();
        EXPECT_EQ(Parameter(fresh, 0), first ? 1.0f : -1.0f) << length;
        EXPECT_EQ(Parameter(fresh, 5), first ? 0.5f : -1.0f) << length;
        EXPECT_EQ(Parameter(fresh, 9, kOutput, 1), length == blob.size() ? 2.0f : -1.0f) << length;
    }
}

TEST(SavedState, HostileRecordEndsTheWalkAndKeepsWhatStoodBefore) {
    struct Case {
        const char* record;
        OSStatus status;
        Float32 after; // parameter 1, which a valid record behind it sets to 2.0
    };
    for (const Case& c : {Case{"00000000 00000000 FFFFFFFF 00000001 40000000", noErr, -1},
                          {"00000000 00000000 80000000 00000001 40000000", noErr, -1},
                          {"00000000 00000000 20000001 00000001 40000000", noErr, -1},
                          {"00000002 00000007 00000001 00000001 40000000", noErr, -1},
                          {"00000000 FFFFFFFF 00000001 00000001 40000000", noErr, -1},
                          {"00000005 00000000 00000000", kAudioUnitErr_InvalidScope, -1},
                          {"FFFFFFFF 00000000", kAudioUnitErr_InvalidScope, -1},
                          {"00000003 00000000 00000001 00000001 40000000", noErr, 2},
                          {"00000000 00000000 00000000", noErr, 2}}) {
        OpenInstrument unit({.outputs = 1, .groups = 1});
        const State state = Saved(unit);
        Bytes blob = kExample;
        for (const UInt8 byte : FromHex(c.record)) {
            blob.push_back(byte);
        }
        if (blob.size() % 4 == 0) {
            for (const UInt8 byte : FromHex("00000000 00000000 00000001 00000001 40000000")) {
                blob.push_back(byte);
            }
        }
        PutBlob(state, blob);
        EXPECT_EQ(Restore(unit, state.Get()), c.status) << c.record;
        EXPECT_EQ(Parameter(unit, 5), 0.5f) << c.record;
        EXPECT_EQ(Parameter(unit, 1), c.after) << c.record;
    }
}

TEST(SavedState, IndexBeyondAnIndexedElementFailsAndKeepsTheNamesOut) {
    OpenInstrument unit({.indexedParameters = 3});
    EXPECT_EQ(BlobOf(Saved(unit)).size(), 12u + 3 * 8);
    const State state = Saved(unit);
    AddToDictionary(state.Get(), "name", MakeKey("New").Get());
    PutBlob(state, FromHex("00000000 00000000 00000002 00000002 3F000000 00000003 3F000000"));
    EXPECT_EQ(Restore(unit, state.Get()), kAudioUnitErr_InvalidParameter);
    EXPECT_EQ(Parameter(unit, 2), 0.5f);
    EXPECT_EQ(Text(unit->GetCurrentPreset().presetName), "Untitled");
}

TEST(SavedState, ElementNamesGrowTheirScopeWithinItsLimit) {
    const std::string tooLong(32, '0');
    struct Case {
        const char* key;
        OSStatus status;
        UInt32 elements;
        UInt32 named; // which element has the name then
    };
    for (const Case& c :
         {Case{"3", noErr, 4, 3},
          {"0", noErr, 2, 0},
          {"0001", noErr, 2, 1},
          {"1023", noErr, 1024, 1023},
          {"1024", kAudioUnitErr_InvalidPropertyValue, 2, 0},
          {"4294967295", kAudioUnitErr_InvalidPropertyValue, 2, 0},
          {"4294967296", kAudioUnitErr_InvalidPropertyValue, 2, 0},
          {"9999999999999999999999999999999", kAudioUnitErr_InvalidPropertyValue, 2, 0},
          {tooLong.c_str(), noErr, 2, 0},
          {"-1", noErr, 2, 0},
          {"", noErr, 2, 0},
          {"1x", noErr, 2, 0},
          {" 1", noErr, 2, 0}}) {
        OpenInstrument unit({.outputs = 2});
        unit->mOffersAll = false; // the count is not writable, and yet it grows
        int changes = 0;
        AudioUnitAddPropertyListener(
            unit, kAudioUnitProperty_ElementCount,
            [](void* data, AudioUnit, AudioUnitPropertyID, AudioUnitScope scope, AudioUnitElement) {
                *static_cast<int*>(data) += scope == kOutput ? 1 : 100;
            },
            &changes);
        const State state = Saved(unit);
        const State all = MakeDictionary();
        const State names = MakeDictionary();
        AddToDictionary(names.Get(), c.key, MakeKey("Strings").Get());
        AddToDictionary(all.Get(), "2", names.Get());
        AddToDictionary(all.Get(), "9", names.Get());
        AddToDictionary(all.Get(), "1", MakeKey("no dictionary").Get());
        AddToDictionary(state.Get(), "element-name", all.Get());
        EXPECT_EQ(Restore(unit, state.Get()), c.status) << c.key;
        EXPECT_EQ(Elements(unit, kOutput), c.elements) << c.key;
        EXPECT_EQ(changes, c.elements > 2 ? 1 : 0) << c.key;
        const bool known = c.key[0] >= '0' && c.key[0] <= '9' && c.status == noErr;
        EXPECT_EQ(ElementName(unit, kOutput, c.named) == "Strings",
                  known && c.key != tooLong && std::string(c.key) != "1x")
            << c.key;
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
    const auto file = std::filesystem::temp_directory_path() /
                      ("velnor-state-" + std::to_string(::getpid()) + ".aupreset");
    std::ofstream(file, std::ios::binary)
        .write(reinterpret_cast<const char*>(CFDataGetBytePtr(xml.Get())),
               CFDataGetLength(xml.Get()));
    const std::string check =
        "python3 -c \"import plistlib,sys; p=plistlib.load(open(sys.argv[1],'rb'));"
        "sys.exit(p!={'version':0,'type':0x61756d75,'subtype':0x54737431,"
        "'manufacturer':0x566c6e72,'name':'Untitled','render-quality':17,'cpu-load':0.5,"
        "'data':bytes.fromhex('0000000000000000000000020000000" +
        std::string("03f800000000000053f000000'),'element-name':{'2':{'3':'Caf\\u00e9'}}})\" ") +
        file.string();
    EXPECT_EQ(std::system(check.c_str()), 0);
    const CFRef<CFPropertyListRef> read(
        CFPropertyListCreateWithData(nullptr, xml.Get(), 0, nullptr, nullptr));
    OpenInstrument other({.outputs = 1});
    EXPECT_EQ(Restore(other, read.Get()), noErr);
    EXPECT_EQ(Parameter(other, 5), 0.5f);
    EXPECT_EQ(ElementName(other, kOutput, 3), "Caf\xC3\xA9");
    std::filesystem::remove(file);
}

} // namespace
} // namespace velnor
