#include "framework/tests/TestInstrument.h"

namespace velnor {
namespace {

using Call = TestInstrument::Call;
using Format = AudioStreamBasicDescription;

constexpr TestInstrument::Shape kEveryScope = {.inputs = 1, .outputs = 2, .groups = 1, .parts = 1};

OSStatus Info(AudioUnit inUnit, AudioUnitPropertyID inID, AudioUnitScope inScope,
              AudioUnitElement inElement = 0) {
    return AudioUnitGetPropertyInfo(inUnit, inID, inScope, inElement, nullptr, nullptr);
}

struct Row {
    AudioUnitPropertyID id;
    UInt32 scopes; ///< a bit for each scope that serves it
    UInt32 size32, size64;
    bool writable;
    OSStatus elsewhere; ///< in the other scopes
    bool optional;      ///< -10879 from a unit that offers nothing optional
    AudioUnitElement element = 0;
};
constexpr UInt32 kG = 1, kGI = 3, kGIO = 7, kO = 4, kAll = 31;
constexpr OSStatus kScope = kAudioUnitErr_InvalidScope;
constexpr OSStatus kNone = kAudioUnitErr_InvalidProperty;
constexpr Row kRows[] = {
    {0, kG, 4, 8, true, kScope, false},     {1, kGI, 12, 16, true, kScope, false},
    {2, kGIO, 8, 8, true, kScope, false},   {3, kAll, 0, 0, false, 0, false},
    {4, kAll, 84, 96, false, 0, false, 7},  {5, kG, 4, 8, false, kScope, false, 6},
    {8, kGIO, 40, 40, true, kScope, false}, {11, kAll, 4, 4, true, 0, false},
    {12, kG, 8, 8, false, kScope, false},   {13, kG, 8, 8, false, kScope, true},
    {14, kG, 4, 4, true, kScope, false},    {15, kAll, 8, 16, true, 0, false},
    {16, kAll, 4, 8, false, 0, false, 7},   {18, kG, 40, 40, false, kScope, true},
    {19, kO, 32, 32, true, kNone, true},    {20, kG, 8, 8, false, kScope, true},
    {22, kG, 4, 4, false, kScope, false},   {23, kGI, 8, 16, true, kScope, false},
    {24, kG, 4, 8, false, kScope, true},    {25, kG, 4, 8, true, kScope, false},
    {27, kG, 16, 32, true, kScope, false},  {28, kG, 8, 16, true, kScope, false},
    {30, kAll, 4, 8, true, 0, false},       {32, kO, 8, 8, false, kNone, true},
    {36, kG, 8, 16, true, kScope, false},   {39, kG, 4, 8, false, kScope, true},
    {1000, kG, 4, 4, false, kScope, false}, {1006, kG, 4, 8, false, kScope, true}};

constexpr UInt32 SizeOf(const Row& inRow) {
    return sizeof(void*) == 4 ? inRow.size32 : inRow.size64;
}

TEST(Properties, EachHasItsSizeWritabilityAndScopes) {
    const OpenInstrument unit(kEveryScope);
    for (const Row& row : kRows) {
        for (AudioUnitScope scope = 0; scope < 6; ++scope) {
            UInt32 size = 77;
            Boolean writable = 77;
            const OSStatus status =
                AudioUnitGetPropertyInfo(unit, row.id, scope, row.element, &size, &writable);
            if (((row.scopes >> scope) & 1) != 0) {
                EXPECT_EQ(status, noErr) << row.id << " in scope " << scope;
                EXPECT_EQ(size, SizeOf(row)) << row.id;
                EXPECT_EQ(writable, row.writable) << row.id;
            } else {
                EXPECT_EQ(status, scope > 4 ? kScope : row.elsewhere) << row.id << " in " << scope;
                EXPECT_EQ(size, 77u) << row.id;
            }
        }
    }
    unit->mOffersAll = false;
    for (const Row& row : kRows) {
        const AudioUnitScope scope = row.scopes == kO ? 2 : 0;
        EXPECT_EQ(Info(unit, row.id, scope, row.element), row.optional ? kNone : OSStatus{noErr})
            << row.id;
    }
    for (const AudioUnitPropertyID id : {6u, 7u, 9u, 10u, 17u, 21u, 26u, 37u, 40u, 999u, 64000u}) {
        UInt8 byte = 0;
        EXPECT_EQ(Info(unit, id, 0), kNone) << id;
        EXPECT_EQ(unit.Get(id, 0, 0, byte), kNone) << id;
        EXPECT_EQ(unit.Set(id, 0, 0, byte), kNone) << id;
    }
}

TEST(Properties, RefuseMissingElementsAndTheDirectionTheyDoNotHave) {
    const OpenInstrument unit(kEveryScope);
    UInt8 bytes[128] = {};
    for (const AudioUnitPropertyID id : {2u, 3u, 8u, 19u, 30u, 32u}) {
        EXPECT_EQ(Info(unit, id, kAudioUnitScope_Output, 2), kAudioUnitErr_InvalidElement) << id;
    }
    EXPECT_EQ(Info(unit, 23, kAudioUnitScope_Input, 1), kAudioUnitErr_InvalidElement);
    for (const Row& row : kRows) {
        const AudioUnitScope scope = row.scopes == kO ? 2 : 0;
        if (!row.writable) {
            EXPECT_EQ(unit.Set(row.id, scope, row.element, bytes),
                      row.id == 1006 ? kNone : kAudioUnitErr_PropertyNotWritable)
                << row.id;
        }
    }
    for (const AudioUnitPropertyID id : {1u, 15u, 23u}) {
        EXPECT_EQ(unit.Get(id, kAudioUnitScope_Input, 0, bytes), kNone) << id;
    }
}

TEST(Properties, WritesOfAWrongSizeAreRefused) {
    const OpenInstrument unit(kEveryScope);
    const UInt8 bytes[512] = {};
    for (const Row& row : kRows) {
        if (!row.writable || row.id == 27) {
            continue; // 27 takes any size
        }
        const UInt32 least = row.id == 8 ? 36 : row.id == 19 ? 12 : SizeOf(row);
        const bool isExact = row.id == 0 || row.id == 11 || row.id == 14 || row.id == 30;
        const AudioUnitScope scope = row.id == 19 ? 2 : row.id == 23 ? 1 : 0;
        for (const UInt32 size : {least - 1, isExact ? least + 1 : least - 1}) {
            EXPECT_EQ(AudioUnitSetProperty(unit, row.id, scope, 0, bytes, size),
                      kAudioUnitErr_InvalidPropertyValue)
                << row.id << " of " << size;
        }
    }
}

TEST(Properties, GetCutsAValueThatDoesNotFit) {
    const OpenInstrument unit;
    const auto whole = unit.Value<Format>(kAudioUnitProperty_StreamFormat, 2);
    UInt8 buffer[64];
    for (UInt32 room = 1; room <= sizeof buffer; ++room) {
        std::memset(buffer, 0xEE, sizeof buffer);
        UInt32 size = room;
        EXPECT_EQ(AudioUnitGetProperty(unit, kAudioUnitProperty_StreamFormat, 2, 0, buffer, &size),
                  noErr);
        const UInt32 filled = std::min<UInt32>(room, sizeof whole);
        EXPECT_EQ(size, filled);
        EXPECT_EQ(std::memcmp(buffer, &whole, filled), 0) << room;
        EXPECT_THAT(std::vector<UInt8>(buffer + filled, buffer + sizeof buffer), Each(0xEE));
    }
}

TEST(Properties, ReadsHandTheCallerAReferenceUnlessItIsCutAway) {
    const OpenInstrument unit;
    const auto name = String("Name");
    for (const AudioUnitPropertyID id : {25u, 30u}) {
        ASSERT_EQ(unit.Set(id, 0, 0, name.Get()), noErr);
    }
    ASSERT_EQ(unit.Set(28, 0, 0, AUPreset{-3, name.Get()}), noErr);
    for (const AudioUnitPropertyID id : {0u, 16u, 24u, 25u, 28u, 30u, 36u, 39u}) {
        UInt8 byte = 0;
        ASSERT_EQ(unit.Get(id, 0, id == 16 ? 7 : 0, byte), noErr) << id;
        AUPreset value = {}; // or one reference at its start
        ASSERT_EQ(unit.Get(id, 0, id == 16 ? 7 : 0, value), noErr) << id;
        CFRelease(id == 28 || id == 36 ? value.presetName : *reinterpret_cast<CFTypeRef*>(&value));
    }
    EXPECT_EQ(CFGetRetainCount(name.Get()), 4);
}

TEST(Properties, GetAnswersSizesAndFailures) {
    const OpenInstrument unit;
    UInt32 value = 0;
    UInt32 size = 0;
    EXPECT_EQ(AudioUnitGetProperty(unit, 14, 0, 0, &value, nullptr), paramErr);
    EXPECT_EQ(AudioUnitGetProperty(unit, 14, 0, 0, &value, &size), paramErr);
    EXPECT_EQ(AudioUnitGetProperty(unit, 8, 2, 0, nullptr, &size), noErr);
    EXPECT_EQ(size, 40u);
    EXPECT_EQ(AudioUnitGetProperty(unit, 8, 2, 9, nullptr, &size), kAudioUnitErr_InvalidElement);
    size = 4;
    EXPECT_EQ(AudioUnitGetProperty(unit, 8, 2, 9, &value, &size), kAudioUnitErr_InvalidElement);
    EXPECT_EQ(size, 4u) << "the info failed, not the fetch";
    unit->mRaise = kFailures[1].first;
    for (const UInt32 room : {4u, 2u}) {
        size = room;
        EXPECT_EQ(AudioUnitGetProperty(unit, 26, 0, 0, &value, &size), kFailures[1].second);
        EXPECT_EQ(size, 0u);
    }
}

TEST(Properties, SetTakesDataOrRemovesTheValue) {
    const OpenInstrument unit;
    const UInt32 frames = 5;
    EXPECT_EQ(AudioUnitSetProperty(unit, 14, 0, 0, nullptr, 4), paramErr);
    EXPECT_EQ(AudioUnitSetProperty(unit, 14, 0, 0, &frames, 0), paramErr);
    EXPECT_EQ(AudioUnitSetProperty(unit, 14, 0, 0, nullptr, 0), kNone);
    EXPECT_EQ(AudioUnitSetProperty(unit, 25, 1, 0, nullptr, 0), kScope);
    HostCallbackInfo callbacks = {&callbacks, nullptr, nullptr, nullptr};
    CFStringRef name = String("Name").Detach();
    ASSERT_EQ(unit.Set(27, 0, 0, callbacks), noErr);
    ASSERT_EQ(unit.Set(25, 0, 0, name), noErr);
    ASSERT_EQ(unit.Set(30, 2, 0, name), noErr);
    CFRelease(name);
    for (const AudioUnitPropertyID id : {19u, 25u, 27u, 30u}) {
        const AudioUnitScope scope = id == 19 || id == 30 ? 2 : 0;
        EXPECT_EQ(AudioUnitSetProperty(unit, id, scope, 0, nullptr, 0), noErr) << id;
    }
    EXPECT_THAT(unit->TakeCalls(), ElementsAre(Call{"RemoveLayout", {2, 0}}));
    EXPECT_EQ(unit.Get(25, 0, 0, name), kAudioUnitErr_InvalidPropertyValue);
    EXPECT_EQ(unit.Get(30, 2, 0, name), kAudioUnitErr_InvalidPropertyValue);
    EXPECT_EQ(unit->GetHostCallbackInfo().hostUserData, nullptr);
}

TEST(Properties, NamesMustBeStrings) {
    const OpenInstrument unit;
    CFTypeRef array = nullptr;
    ASSERT_EQ(unit.Get(24, 0, 0, array), noErr);
    EXPECT_EQ(unit.Set(25, 0, 0, array), kAudioUnitErr_InvalidPropertyValue);
    EXPECT_EQ(unit.Set(30, 0, 0, array), kAudioUnitErr_InvalidPropertyValue);
    EXPECT_EQ(unit.Set(36, 0, 0, AUPreset{-2, static_cast<CFStringRef>(array)}),
              kAudioUnitErr_InvalidPropertyValue);
    CFRelease(array);
}

TEST(Properties, ReadWhatTheUnitAnswers) {
    const OpenInstrument unit(kEveryScope);
    EXPECT_EQ(unit.Value<Float64>(12), 0.25);
    EXPECT_EQ(unit.Value<Float64>(20), 1.5);
    EXPECT_EQ(unit.Value<UInt32>(1000), 5u);
    using Infos = std::array<AUChannelInfo, 2>;
    EXPECT_EQ(unit.Value<Infos>(13)[1].outChannels, -16);
    using Editors = std::array<ComponentDescription, 2>;
    EXPECT_EQ(unit.Value<Editors>(18)[1].componentSubType, 3u);
    using Words = std::array<UInt32, 2>;
    EXPECT_EQ(unit.Value<Words>(32, 2, 1)[1], UInt32{kAudioChannelLayoutTag_Mono});
    EXPECT_EQ(unit.Value<AudioChannelLayout>(19, 2, 1).mChannelLayoutTag,
              UInt32{kAudioChannelLayoutTag_Stereo});
    auto info = unit.Value<AudioUnitParameterInfo>(4, 0, 7);
    EXPECT_STREQ(info.name, "Cutoff");
    EXPECT_EQ(unit.Get(4, 0, 8, info), kAudioUnitErr_InvalidParameter);
    AudioUnitSetParameter(unit, 9, 4, 0, 1, 0);
    AudioUnitSetParameter(unit, 2, 4, 0, 1, 0);
    EXPECT_THAT(unit.Value<Words>(3, 4), ElementsAre(2, 9));
}

TEST(Properties, HostCallbacksOfAnySizeAreStored) {
    const OpenInstrument unit;
    UInt8 given[sizeof(HostCallbackInfo) + 8];
    std::memset(given, 0x11, sizeof given);
    for (UInt32 size = 1; size <= sizeof given; ++size) {
        EXPECT_EQ(AudioUnitSetProperty(unit, 27, 0, 0, given, size), noErr);
        UInt8 expected[sizeof(HostCallbackInfo)] = {};
        std::memcpy(expected, given, std::min<std::size_t>(size, sizeof expected));
        const auto stored = unit.Value<HostCallbackInfo>(27);
        EXPECT_EQ(std::memcmp(&stored, expected, sizeof stored), 0) << size;
    }
}

/// Property, scope and element.
using Change = std::array<UInt32, 3>;

void NoteChange(void* inChanges, AudioUnit, AudioUnitPropertyID inID, AudioUnitScope inScope,
                AudioUnitElement inElement) {
    static_cast<std::vector<Change>*>(inChanges)->push_back({inID, inScope, inElement});
}

TEST(Properties, WritesThatChangeAValueTellTheListeners) {
    const OpenInstrument unit(kEveryScope);
    std::vector<Change> changes;
    for (const AudioUnitPropertyID id : {2u, 8u, 11u, 14u, 19u, 25u, 28u, 30u, 36u}) {
        AudioUnitAddPropertyListener(unit, id, NoteChange, &changes);
    }
    const auto name = String("Name");
    const AudioChannelLayout layout = {};
    unit.Set(2, 2, 1, 48000.0);
    unit.Set(2, 2, 1, 48000.0); // no change
    unit.Set(11, 3, 1, UInt32{4});
    unit.Set(14, 0, 0, UInt32{512});
    unit.Set(19, 2, 1, layout);
    unit.Set(25, 0, 0, name.Get());
    unit.Set(30, 4, 0, name.Get());
    unit.Set(28, 0, 0, AUPreset{-7, name.Get()});
    unit.Set(36, 0, 0, AUPreset{2, nullptr});
    EXPECT_EQ(unit.Set(36, 0, 0, AUPreset{3, nullptr}), kNone);
    EXPECT_EQ(unit.Set(36, 0, 0, AUPreset{-1, nullptr}), kAudioUnitErr_InvalidPropertyValue);
    EXPECT_THAT(changes,
                ElementsAre(Change{8, 2, 1}, Change{11, 3, 1}, Change{14, 0, 0}, Change{19, 2, 1},
                            Change{25, 0, 0}, Change{30, 4, 0}, Change{28, 0, 0}, Change{36, 0, 0},
                            Change{28, 0, 0}, Change{36, 0, 0}));
    EXPECT_EQ(unit->GetCurrentPreset().presetNumber, 2);
    EXPECT_TRUE(CFEqual(unit->GetCurrentPreset().presetName, String("Factory").Get()));
    EXPECT_EQ(unit->GetScope(3).GetNumberOfElements(), 4u);
}

TEST(Properties, ElementCountsGrowAndShrinkWhereTheUnitAllowsIt) {
    const OpenInstrument unit(kEveryScope);
    EXPECT_EQ(unit.Set(11, 2, 0, UInt32{4}), noErr);
    EXPECT_NE(unit->GetElement(2, 3), nullptr);
    EXPECT_EQ(unit.Set(11, 2, 0, UInt32{2}), noErr);
    EXPECT_EQ(unit->GetElement(2, 2), nullptr);
    EXPECT_EQ(unit.Set(11, 2, 0, UInt32{0xFFFFFFFF}), kAudioUnitErr_InvalidPropertyValue);
    unit->mOffersAll = false;
    EXPECT_EQ(unit.Set(11, 2, 0, UInt32{4}), kAudioUnitErr_PropertyNotWritable);
    EXPECT_EQ(unit.Value<UInt32>(11, 2), 2u);
}

TEST(Properties, OnlyCanonicalFormatsAreTaken) {
    constexpr OSStatus kBad = kAudioUnitErr_FormatNotSupported;
    const OpenInstrument units[] = {OpenInstrument({.interfaceVersion = 1}), OpenInstrument()};
    const Format base[] = {units[0].Value<Format>(8), units[1].Value<Format>(8)};
    EXPECT_EQ(base[0].mFormatFlags, 9u);
    EXPECT_EQ(base[0].mBytesPerFrame, 8u);
    EXPECT_EQ(base[1].mFormatFlags, 41u);
    // The statuses are those at interface versions 1 and 2.
    for (const auto& [field, value, first, second] :
         Rows<UInt32 Format::*, UInt32, OSStatus, OSStatus>{
             {&Format::mFormatID, 1, kBad, kBad},
             {&Format::mFramesPerPacket, 2, kBad, kBad},
             {&Format::mBytesPerPacket, 12, kBad, kBad},
             {&Format::mBytesPerFrame, 12, kBad, kBad},
             {&Format::mBitsPerChannel, 24, kBad, kBad},
             {&Format::mFormatFlags, 40, kBad, kBad},
             {&Format::mFormatFlags, 43, kBad, kBad},
             {&Format::mFormatFlags, 33, kBad, noErr},
             {&Format::mFormatFlags, 1, noErr, kBad},
             {&Format::mChannelsPerFrame, 6, kBad, noErr}}) {
        for (const int version : {0, 1}) {
            Format format = base[version];
            format.*field = value;
            EXPECT_EQ(units[version].Set(8, 2, 0, format), version == 0 ? first : second) << value;
        }
    }
    Format wrapped = base[0]; // 4 * channels is 8 only modulo 2^32
    wrapped.mChannelsPerFrame = 0x40000002;
    EXPECT_EQ(units[0].Set(8, 2, 0, wrapped), kBad);
}

TEST(Properties, FormatsAreRefusedUnlessTheyAreWritableOrTheSame) {
    const OpenInstrument unit({.inputs = 1, .outputs = 0});
    unit->mFormatWritable = false;
    auto format = unit.Value<Format>(8, 1);
    EXPECT_EQ(AudioUnitSetProperty(unit, 8, 1, 0, &format, 36), noErr);
    format.mSampleRate = 1;
    EXPECT_EQ(unit.Set(8, 1, 0, format), kAudioUnitErr_PropertyNotWritable);
    EXPECT_EQ(unit.Set(2, 1, 0, 1.0), kAudioUnitErr_PropertyNotWritable);
    EXPECT_EQ(unit.Set(8, 0, 0, format), kAudioUnitErr_InvalidElement) << "no output 0";
    EXPECT_EQ(unit.Set(8, 4, 0, format), kScope);
    unit->mFormatWritable = true;
    EXPECT_EQ(AudioUnitSetProperty(unit, 8, 1, 0, &format, 36), noErr);
    EXPECT_EQ(unit.Value<Float64>(2, 1), 1.0);
}

TEST(Properties, LayoutsMustHoldWhatTheyCount) {
    const OpenInstrument unit;
    UInt8 bytes[12 + 2 * 20 + 1] = {};
    const auto set = [&](UInt32 inCount, UInt32 inSize) {
        std::memcpy(bytes + 8, &inCount, sizeof inCount);
        return AudioUnitSetProperty(unit, 19, 2, 0, bytes, inSize);
    };
    EXPECT_EQ(set(0, 12), noErr);
    EXPECT_EQ(set(2, 52), noErr);
    EXPECT_EQ(set(2, 53), noErr);
    for (const UInt32 count : {3u, 0x0CCCCCCDu, 0x80000000u, 0xFFFFFFFFu}) {
        EXPECT_EQ(set(count, 52), kAudioUnitErr_InvalidPropertyValue) << count;
    }
    EXPECT_THAT(unit->TakeCalls(),
                ElementsAre(Call{"SetLayout", {2, 0, 0}}, Call{"SetLayout", {2, 0, 2}},
                            Call{"SetLayout", {2, 0, 2}}));
    unit->mOffersAll = false;
    EXPECT_EQ(set(0, 12), kNone);
    EXPECT_EQ(AudioUnitSetProperty(unit, 19, 2, 0, nullptr, 0), kNone);
}

TEST(Properties, InputSourcesReachTheInputBus) {
    const OpenInstrument unit({.inputs = 2});
    const OpenInstrument first({.inputs = 2, .interfaceVersion = 1});
    const AURenderCallbackStruct callback = {[](auto...) -> OSStatus { return noErr; }, nullptr};
    EXPECT_EQ(unit.Set(23, 1, 1, callback), noErr);
    EXPECT_TRUE(unit->GetInput(1).NeedsBufferSpace());
    EXPECT_EQ(unit.Set(23, 1, 2, callback), kAudioUnitErr_InvalidElement);
    EXPECT_EQ(first.Set(23, 1, 1, callback), kAudioUnitErr_PropertyNotWritable);
    EXPECT_EQ(unit.Set(1, 1, 0, AudioUnitConnection{unit, 0, 1}), noErr);
    EXPECT_FALSE(unit->GetInput(1).NeedsBufferSpace());
    EXPECT_EQ(unit.Set(1, 1, 0, AudioUnitConnection{unit, 0, 2}), kAudioUnitErr_InvalidElement);
}

} // namespace
} // namespace velnor
