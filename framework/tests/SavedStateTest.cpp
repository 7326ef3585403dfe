#include "framework/StateDictionary.h"
#include "framework/tests/OpenInstrument.h"

namespace velnor::testing {
namespace {

using State = CFRef<CFMutableDictionaryRef>;

/// Global element: 0 = 1.0 and 5 = 0.5.
const std::string kExample = "00000000 00000000 00000002 00000000 3F800000 00000005 3F000000 ";

State Saved(const OpenInstrument& unit) {
    return State(unit.Value<CFMutableDictionaryRef>(kAudioUnitProperty_ClassInfo));
}

OSStatus Restore(const OpenInstrument& unit, CFTypeRef state) {
    return unit.Set(kAudioUnitProperty_ClassInfo, kGlobal, 0, state);
}

std::string BlobOf(const State& state) {
    return Bytes(GetData(state.Get(), "data"));
}

/// What a unit saves, with this as its blob.
State WithBlob(const OpenInstrument& unit, const std::string& bytes) {
    State state = Saved(unit);
    Set(state.Get(), "data", Data(bytes).Get());
    return state;
}

TEST(SavedState, HoldsIdentityNameAndParametersByteForByte) {
    OpenInstrument unit({.inputs = 1, .outputs = 2, .groups = 1, .parts = 1});
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
    AudioUnitSetParameter(unit, 1, kInput, 0, 0.0f, 0);
    AudioUnitSetParameter(unit, 1, kPart, 0, 1, 0); // never saved, as those of groups
    unit->GetElement(kGroup, 0)->SetParameter(1, 1);
    EXPECT_EQ(BlobOf(Saved(unit)),
              FromHex(kExample + "00000001 00000000 00000001 00000001 00000000"
                                 "00000002 00000001 00000001 FFFFFFFF C0000000"));
}

TEST(SavedState, RestoreBringsBackWhatWasSaved) {
    constexpr TestShape kShape = {.inputs = 1, .outputs = 2, .groups = 2, .parts = 1};
    OpenInstrument from(kShape);
    AudioUnitSetParameter(from, 3, kOutput, 1, 0.75f, 0);
    from->mQuality = 99;
    from->mLoad = 0.875f;
    from.Set(36, kGlobal, 0, AUPreset{-7, String("Mine").Get()});
    constexpr std::pair<UInt32, UInt32> kNamed[] = {{0, 0}, {1, 0}, {2, 1}, {3, 0}, {3, 1}, {4, 0}};
    for (const auto& [scope, element] : kNamed) {
        from.Set(30, scope, element, String("Name " + std::to_string(10 * scope + element)).Get());
    }
    const State state = Saved(from);
    EXPECT_THAT(Keys(state.Get()),
                ElementsAre("cpu-load", "data", "element-name", "manufacturer", "name",
                            "render-quality", "subtype", "type", "version"));
    Set(state.Get(), "type", Value(SInt32{1}).Get()); // nobody compares it

    OpenInstrument to(kShape);
    to.Set(28, kGlobal, 0, AUPreset{2, nullptr});
    Changes changes(to, {11, 28, 36},
                    [](const OpenInstrument& self, auto...) { return self.Preset(); });
    ASSERT_EQ(Restore(to, state.Get()), noErr);
    EXPECT_EQ(changes.Take(), "28 0 0: -1 Mine; 36 0 0: -1 Mine; ");
    EXPECT_EQ(to.Parameter(3, kOutput, 1), 0.75f);
    EXPECT_EQ(to->mQuality, 99u);
    EXPECT_EQ(to->mLoad, 0.875f);
    for (const auto& [scope, element] : kNamed) {
        EXPECT_EQ(to.Name(30, scope, element), "Name " + std::to_string(10 * scope + element));
    }
    EXPECT_EQ(to.Name(30, kOutput, 0), "<none>");
    CFDictionaryRemoveValue(state.Get(), String("name").Get());
    ASSERT_EQ(Restore(to, state.Get()), noErr);
    EXPECT_EQ(to.Preset(), "-1 Untitled");
}

TEST(SavedState, RefusedDictionaryChangesNothing) {
    OpenInstrument unit;
    const auto text = Value("0");
    const auto number = Value(SInt32{1});
    const auto restoreWith = [&](const char* key, CFTypeRef value) {
        const State state = WithBlob(unit, FromHex(kExample));
        if (value != nullptr) {
            Set(state.Get(), key, value);
        } else {
            CFDictionaryRemoveValue(state.Get(), String(key).Get());
        }
        return Restore(unit, state.Get());
    };
    for (const char* key : {"version", "subtype", "manufacturer"}) {
        for (const CFTypeRef value : {CFTypeRef{nullptr}, number.Get(), text.Get()}) {
            EXPECT_EQ(restoreWith(key, value), kAudioUnitErr_InvalidPropertyValue) << key;
        }
    }
    EXPECT_EQ(restoreWith("part", text.Get()), kAudioUnitErr_InvalidPropertyValue);
    EXPECT_EQ(Restore(unit, text.Get()), kAudioUnitErr_InvalidPropertyValue);
    EXPECT_EQ(Restore(unit, nullptr), kAudioUnitErr_InvalidPropertyValue);
    EXPECT_EQ(unit.Parameter(5), -1);
    for (const char* key : {"name", "render-quality", "cpu-load", "element-name"}) {
        EXPECT_EQ(restoreWith(key, std::string(key) == "name" ? number.Get() : text.Get()), noErr)
            << key << " of a foreign type counts as absent";
    }
    EXPECT_EQ(Text(unit->GetCurrentPreset().presetName), "Untitled");
}

TEST(SavedState, HostileRecordEndsTheWalkAndKeepsWhatStoodBefore) {
    const std::string valid = "00000000 00000000 00000001 00000001 40000000";
    // The last column is parameter 1, which the record behind sets to 2.
    for (const auto& [record, status, after] : Rows<std::string, OSStatus, Float32>{
             {"00000000 00000000 FFFFFFFF ", noErr, -1},
             {"00000000 00000000 20000001 ", noErr, -1},
             {"00000002 00000007 00000000 ", noErr, -1},
             {"00000005 00000000 00000000 ", kAudioUnitErr_InvalidScope, -1},
             {"00000003 00000000 00000001 00000001 40000000 ", noErr, 2},
             {"00000000 00000000 00000000 ", noErr, 2}}) {
        OpenInstrument unit({.outputs = 1, .groups = 1});
        const State state = WithBlob(unit, FromHex(kExample + record + valid));
        EXPECT_EQ(Restore(unit, state.Get()), status) << record;
        EXPECT_EQ(unit.Parameter(5), 0.5f) << record;
        EXPECT_EQ(unit.Parameter(1), after) << record;
    }
}

TEST(SavedState, ElementNamesGrowTheirScopeWithinItsLimit) {
    // The last column is the element that has the name then.
    for (const auto& [key, count, named] :
         Rows<std::string, UInt32, int>{{"3", 4, 3},
                                        {"0001", 2, 1},
                                        {"1023", 1024, 1023},
                                        {"1024", 2, -1},
                                        {"4294967296", 2, -1},
                                        {std::string(32, '0'), 2, -1},
                                        {"", 2, -1},
                                        {"1x", 2, -1}}) {
        OpenInstrument unit({.outputs = 2});
        unit->mOffersAll = false; // the count is not writable, and yet it grows
        Changes changes(unit, {kAudioUnitProperty_ElementCount});
        const State state = Saved(unit);
        const State scopes = Dictionary();
        const State names = Dictionary();
        Set(names.Get(), key, String("Strings").Get());
        Set(scopes.Get(), "2", names.Get());
        Set(scopes.Get(), "9", names.Get());
        Set(names.Get(), "2000", String("nobody").Get());
        Set(scopes.Get(), "1", String("no dictionary").Get());
        Set(state.Get(), "element-name", scopes.Get());
        EXPECT_EQ(Restore(unit, state.Get()), noErr) << key;
        const UInt32 elements = unit->GetScope(kOutput).GetNumberOfElements();
        EXPECT_EQ(elements, count) << key;
        EXPECT_EQ(changes.Take(), count > 2 ? "11 2 0: ; " : "") << key;
        for (UInt32 i = 0; i < elements; ++i) {
            EXPECT_EQ(unit.Name(30, kOutput, i) == "Strings", static_cast<int>(i) == named);
        }
    }
}

} // namespace
} // namespace velnor::testing
