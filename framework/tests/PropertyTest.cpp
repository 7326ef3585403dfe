#include "framework/tests/OpenInstrument.h"

namespace velnor::testing {
namespace {

using Format = AudioStreamBasicDescription;

constexpr TestShape kEveryScope = {.inputs = 1, .outputs = 2, .groups = 1, .parts = 1};
constexpr OSStatus kScope = kAudioUnitErr_InvalidScope;
constexpr OSStatus kElement = kAudioUnitErr_InvalidElement;
constexpr OSStatus kNone = kAudioUnitErr_InvalidProperty;
constexpr OSStatus kValue = kAudioUnitErr_InvalidPropertyValue;
constexpr OSStatus kReadOnly = kAudioUnitErr_PropertyNotWritable;
constexpr OSStatus kFormat = kAudioUnitErr_FormatNotSupported;

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
    {30, kAll, 4, 8, true, 0, false},       {32, kO, 4, 4, false, kNone, true},
    {36, kG, 8, 16, true, kScope, false},   {39, kG, 4, 8, false, kScope, true},
    {1000, kG, 4, 4, false, kScope, false}, {1006, kG, 4, 8, false, kScope, true}};

constexpr UInt32 SizeOf(const Row& inRow) {
    return sizeof(void*) == 4 ? inRow.size32 : inRow.size64;
}
constexpr AudioUnitScope ScopeOf(const Row& inRow) {
    return inRow.scopes == kO ? kOutput : inRow.id == 23 ? kInput : kGlobal;
}

TEST(Properties, EachHasItsSizeWritabilityAndScopes) {
    const OpenInstrument unit(kEveryScope);
    for (const Row& row : kRows) {
        SCOPED_TRACE(row.id);
        for (AudioUnitScope scope = 0; scope < 6; ++scope) {
            UInt32 size = 77;
            Boolean writable = 77;
            const OSStatus status =
                AudioUnitGetPropertyInfo(unit, row.id, scope, row.element, &size, &writable);
            const bool served = ((row.scopes >> scope) & 1) != 0;
            EXPECT_EQ(status, served ? noErr : scope > 4 ? kScope : row.elsewhere) << scope;
            EXPECT_EQ(size, served ? SizeOf(row) : 77) << scope;
            EXPECT_EQ(writable, served ? row.writable : 77) << scope;
        }
    }
    unit->mOffersAll = false;
    for (const Row& row : kRows) {
        EXPECT_EQ(Info(unit, row.id, ScopeOf(row), row.element),
                  row.optional ? kNone : OSStatus{noErr})
            << row.id;
    }
    for (const AudioUnitPropertyID id : {6u, 7u, 9u, 10u, 17u, 21u, 26u, 37u, 40u, 999u, 64000u}) {
        UInt8 byte = 0;
        EXPECT_EQ(Info(unit, id, 0), kNone) << id;
        EXPECT_EQ(unit.Get(id, 0, 0, byte), kNone) << id;
        EXPECT_EQ(unit.Set(id, 0, 0, byte), kNone) << id;
    }
}

TEST(Properties, RefuseMissingElementsWrongSizesAndTheDirectionTheyDoNotHave) {
    const OpenInstrument unit(kEveryScope);
    UInt8 bytes[512] = {};
    for (const AudioUnitPropertyID id : {2u, 3u, 8u, 19u, 30u, 32u}) {
        EXPECT_EQ(Info(unit, id, kOutput, 2), kElement) << id;
    }
    EXPECT_EQ(Info(unit, 23, kInput, 1), kElement);
    for (const AudioUnitPropertyID id : {1u, 15u, 23u}) {
        EXPECT_EQ(unit.Get(id, kInput, 0, bytes), kNone) << id;
    }
    for (const Row& row : kRows) {
        const UInt32 least = row.id == 8 ? 36 : row.id == 19 ? 12 : SizeOf(row);
        const bool isExact = row.id == 0 || row.id == 11 || row.id == 14 || row.id == 30;
        for (const UInt32 size : {least - 1, isExact ? least + 1 : least - 1}) {
            if (row.id != 27 && size > 0 && size < sizeof bytes) { // 27 takes any size
                EXPECT_EQ(AudioUnitSetProperty(unit, row.id, ScopeOf(row), 0, bytes, size),
                          row.writable     ? kValue
                          : row.id == 1006 ? kNone
                                           : kReadOnly)
                    << row.id << " of " << size;
            }
        }
    }
}

TEST(Properties, GetCutsAValueThatDoesNotFit) {
    const OpenInstrument unit;
    const auto whole = unit.Value<Format>(8, kOutput);
    UInt8 buffer[64];
    for (UInt32 room = 1; room <= sizeof buffer; ++room) {
        std::memset(buffer, 0xEE, sizeof buffer);
        UInt32 size = room;
        EXPECT_EQ(AudioUnitGetProperty(unit, 8, kOutput, 0, buffer, &size), noErr);
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
    for (const AudioUnitPropertyID id : {0u, 16u, 24u, 25u, 28u, 30u, 36u, 39u, 1006u}) {
        UInt8 byte = 0;
        if (id != 1006) {
            ASSERT_EQ(unit.Get(id, 0, id == 16 ? 7 : 0, byte), noErr) << id;
        }
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
    EXPECT_EQ(AudioUnitGetProperty(unit, 8, 2, 9, nullptr, &size), kElement);
    size = 4;
    EXPECT_EQ(AudioUnitGetProperty(unit, 8, 2, 9, &value, &size), kElement);
    EXPECT_EQ(size, 4u) << "the info failed, not the fetch";
    unit.Fail("GetProperty", kFailures[1].first);
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
    EXPECT_EQ(unit.Remove(14, kGlobal), kNone);
    EXPECT_EQ(unit.Remove(25, kInput), kScope);
    HostCallbackInfo callbacks = {&callbacks, nullptr, nullptr, nullptr};
    const auto name = String("Name");
    ASSERT_EQ(unit.Set(27, 0, 0, callbacks), noErr);
    ASSERT_EQ(unit.Set(25, 0, 0, name.Get()), noErr);
    ASSERT_EQ(unit.Set(30, 2, 0, name.Get()), noErr);
    Changes changes(unit, {19, 25, 30}, [](auto& self, auto id, auto scope, auto element) {
        return id == 19 ? "" : self.Name(id, scope, element);
    });
    for (const AudioUnitPropertyID id : {19u, 25u, 27u, 30u}) {
        EXPECT_EQ(unit.Remove(id, id == 19 || id == 30 ? kOutput : kGlobal), noErr) << id;
    }
    EXPECT_EQ(TakeCalls(), "RemoveLayout 2 0; ");
    EXPECT_EQ(changes.Take(), "19 2 0: ; 25 0 0: <none>; 30 2 0: <none>; ");
    CFStringRef none = nullptr;
    EXPECT_EQ(unit.Get(25, 0, 0, none), kValue);
    EXPECT_EQ(unit.Get(30, 2, 0, none), kValue);
    const auto array = Array(); // no text
    EXPECT_EQ(unit.Set(25, 0, 0, array.Get()), kValue);
    EXPECT_EQ(unit.Set(30, 0, 0, array.Get()), kValue);
    EXPECT_EQ(unit.Set(36, 0, 0, AUPreset{-2, reinterpret_cast<CFStringRef>(array.Get())}), kValue);
    EXPECT_EQ(unit->GetHostCallbackInfo().hostUserData, nullptr);
}

TEST(Properties, ReadWhatTheUnitAnswers) {
    const OpenInstrument unit(kEveryScope);
    EXPECT_EQ(unit.Value<Float64>(12), 0.25);
    EXPECT_EQ(unit.Value<Float64>(20), 1.5);
    EXPECT_EQ(unit.Value<UInt32>(1000), 5u);
    auto info = unit.Value<AudioUnitParameterInfo>(4, 0, 7);
    EXPECT_STREQ(info.name, "Cutoff");
    EXPECT_EQ(unit.Get(4, 0, 8, info), kAudioUnitErr_InvalidParameter);
    std::vector<AudioUnitParameterID> ids;
    for (const AudioUnitParameterID id : {9u, 2u, 4u}) {
        AudioUnitSetParameter(unit, id, kPart, 0, 1, 0);
        ids.push_back(id);
        std::vector<AudioUnitParameterID> list(ids.size());
        UInt32 size = sizeof id * static_cast<UInt32>(ids.size());
        EXPECT_EQ(AudioUnitGetProperty(unit, 3, kPart, 0, list.data(), &size), noErr);
        EXPECT_THAT(list, UnorderedElementsAreArray(ids));
        EXPECT_TRUE(std::ranges::is_sorted(list));
    }
    unit->mMadeMeanwhile = 5;
    std::array<AudioUnitParameterID, 4> list = {77, 77, 77, 77};
    UInt32 size = 3 * sizeof list[0];
    EXPECT_EQ(AudioUnitGetProperty(unit, 3, kPart, 0, list.data(), &size), noErr);
    EXPECT_THAT(list, ElementsAre(2, 4, 5, 77)) << "what there was room for";
}

TEST(Properties, HostCallbacksOfAnySizeReplaceThoseBefore) {
    const OpenInstrument unit;
    UInt8 given[sizeof(HostCallbackInfo) + 8];
    std::memset(given, 0x11, sizeof given);
    for (UInt32 size = sizeof given; size > 0; --size) {
        EXPECT_EQ(AudioUnitSetProperty(unit, 27, 0, 0, given, size), noErr);
        UInt8 expected[sizeof(HostCallbackInfo)] = {};
        std::memcpy(expected, given, std::min<std::size_t>(size, sizeof expected));
        const auto stored = unit.Value<HostCallbackInfo>(27);
        EXPECT_EQ(std::memcmp(&stored, expected, sizeof stored), 0) << size;
    }
}

TEST(Properties, WritesThatChangeAValueTellTheListenersTheNewOne) {
    const OpenInstrument unit(kEveryScope);
    Changes changes(unit, {2, 8, 11, 14, 19, 25, 28, 30, 36},
                    [](const OpenInstrument& self, auto id, auto scope, auto element) {
                        std::ostringstream text;
                        if (id == 8) {
                            text << self.Value<Float64>(2, scope, element);
                        } else if (id == 11 || id == 14) {
                            text << self.Value<UInt32>(id, scope, element);
                        } else if (id == 25 || id == 30) {
                            text << self.Name(id, scope, element);
                        } else if (id != 19) {
                            text << self.Preset();
                        }
                        return text.str();
                    });
    const auto name = String("Name");
    const AudioChannelLayout layout = {};
    auto format = unit.Value<Format>(8);
    format.mSampleRate = 96000;
    const auto tells = [&](OSStatus status, OSStatus expected, const std::string& text) {
        EXPECT_EQ(status, expected) << text;
        EXPECT_EQ(changes.Take(), text);
    };
    tells(unit.Set(2, 2, 1, 48000.0), noErr, "8 2 1: 48000; ");
    tells(unit.Set(2, 2, 1, 48000.0), noErr, "");
    tells(unit.Set(8, kGlobal, 1, format), noErr, "8 0 1: 96000; ");
    EXPECT_EQ(unit.Value<Float64>(2, kOutput, 0), 96000) << "the global scope is output 0";
    EXPECT_EQ(unit.Value<Float64>(2, kOutput, 1), 48000);
    tells(unit.Set(11, 3, 1, UInt32{4}), noErr, "11 3 1: 4; ");
    tells(unit.Set(14, 0, 0, UInt32{512}), noErr, "14 0 0: 512; ");
    tells(unit.Set(19, 2, 1, layout), noErr, "19 2 1: ; ");
    tells(unit.Set(25, 0, 0, name.Get()), noErr, "25 0 0: Name; ");
    tells(unit.Set(30, 4, 0, name.Get()), noErr, "30 4 0: Name; ");
    tells(unit.Set(28, 0, 0, AUPreset{-7, name.Get()}), noErr,
          "28 0 0: -7 Name; 36 0 0: -7 Name; ");
    tells(unit.Set(36, 0, 0, AUPreset{2, nullptr}), noErr,
          "28 0 0: 2 Factory; 36 0 0: 2 Factory; ");
    tells(unit.Set(36, 0, 0, AUPreset{3, nullptr}), kNone, "");
    unit->mOffersAll = false;
    tells(unit.Set(19, 2, 1, layout), kNone, "");
    tells(unit.Remove(19, 2), kNone, "");
    tells(unit.Set(11, 3, 1, UInt32{5}), kReadOnly, "");
    EXPECT_EQ(unit->GetScope(3).GetNumberOfElements(), 4u);
}

TEST(Properties, ElementCountsGrowAndShrinkAtTheEnd) {
    const OpenInstrument unit(kEveryScope);
    const AUElement* const first = unit->GetElement(kOutput, 0);
    for (const UInt32 count : {4u, 2u, kMaximumElementsPerScope, 1u}) {
        EXPECT_EQ(unit.Set(11, kOutput, 0, count), noErr);
        EXPECT_NE(unit->GetElement(kOutput, count - 1), nullptr);
        EXPECT_EQ(unit->GetElement(kOutput, count), nullptr);
        EXPECT_EQ(unit->GetElement(kOutput, 0), first);
    }
    EXPECT_EQ(unit.Set(11, kOutput, 0, kMaximumElementsPerScope + 1), kValue);
    EXPECT_EQ(unit.Value<UInt32>(11, kOutput), 1u);
}

TEST(Properties, OnlyCanonicalFormatsAreTaken) {
    const OpenInstrument units[] = {OpenInstrument({.interfaceVersion = 1}), OpenInstrument()};
    const Format base[] = {units[0].Value<Format>(8), units[1].Value<Format>(8)};
    EXPECT_EQ(base[0].mFormatFlags, 9u);
    EXPECT_EQ(base[0].mBytesPerFrame, 8u);
    EXPECT_EQ(base[1].mFormatFlags, 41u);
    // The statuses are those at interface versions 1 and 2.
    for (const auto& [field, value, first, second] :
         Rows<UInt32 Format::*, UInt32, OSStatus, OSStatus>{
             {&Format::mFormatID, 1, kFormat, kFormat},
             {&Format::mFramesPerPacket, 2, kFormat, kFormat},
             {&Format::mBytesPerPacket, 12, kFormat, kFormat},
             {&Format::mBytesPerFrame, 12, kFormat, kFormat},
             {&Format::mBitsPerChannel, 24, kFormat, kFormat},
             {&Format::mFormatFlags, 40, kFormat, kFormat},
             {&Format::mFormatFlags, 43, kFormat, kFormat},
             {&Format::mFormatFlags, 33, kFormat, noErr},
             {&Format::mFormatFlags, 1, noErr, kFormat},
             {&Format::mChannelsPerFrame, 0x40000002, kFormat, noErr}, // 8 bytes modulo 2^32
             {&Format::mChannelsPerFrame, 6, kFormat, noErr}}) {
        for (const int version : {0, 1}) {
            Format format = base[version];
            format.*field = value;
            EXPECT_EQ(units[version].Set(8, kOutput, 0, format), version == 0 ? first : second)
                << value;
        }
    }
    auto interleaved = base[0];
    EXPECT_EQ(units[1].Set(8, kOutput, 0, interleaved), kFormat);
    interleaved.mChannelsPerFrame = 1;
    interleaved.mBytesPerFrame = interleaved.mBytesPerPacket = 4;
    EXPECT_EQ(units[1].Set(8, kOutput, 0, interleaved), kFormat);
}

TEST(Properties, FormatsAreRefusedUnlessTheyAreWritableOrTheSame) {
    const OpenInstrument unit({.inputs = 1, .outputs = 0});
    unit->mFormatWritable = false;
    auto format = unit.Value<Format>(8, kInput);
    EXPECT_EQ(AudioUnitSetProperty(unit, 8, kInput, 0, &format, 36), noErr);
    format.mSampleRate = 1;
    EXPECT_EQ(unit.Set(8, kInput, 0, format), kReadOnly);
    EXPECT_EQ(unit.Set(2, kInput, 0, 1.0), kReadOnly);
    EXPECT_EQ(unit.Set(8, kGlobal, 0, format), kElement) << "no output 0";
    EXPECT_EQ(unit.Set(8, kPart, 0, format), kScope);
    unit->mFormatWritable = true;
    format.mReserved = 7;
    EXPECT_EQ(AudioUnitSetProperty(unit, 8, kInput, 0, &format, 36), noErr);
    EXPECT_EQ(unit.Value<Float64>(2, kInput), 1.0);
    EXPECT_EQ(unit.Value<Format>(8, kInput).mReserved, 0u) << "not given";
    EXPECT_EQ(unit.Set(8, kInput, 0, format), noErr);
    format.mReserved = 8;
    EXPECT_EQ(AudioUnitSetProperty(unit, 8, kInput, 0, &format, 39), noErr);
    EXPECT_EQ(unit.Value<Format>(8, kInput).mReserved, 7u) << "given before, kept now";
    unit->mFormatWritable = false;
    EXPECT_EQ(unit.Set(8, kInput, 0, format), noErr) << "the format is the same";
}

} // namespace
} // namespace velnor::testing
