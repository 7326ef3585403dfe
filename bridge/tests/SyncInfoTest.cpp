#include "bridge/SyncInfo.h"

#include "testing/Testing.h"

#include <cmath>
#include <cstring>
#include <limits>

namespace velnor::testing {
namespace {

constexpr double kRate = 44100.0;
constexpr double kFineRate = 1 << 26;

SyncInfo playingAt(double ppq, double barStart) {
    SyncInfo sync;
    sync.playing = 1;
    sync.ppq = ppq;
    sync.barStart = barStart;
    return sync;
}

TEST(SyncInfo, StartsStoppedAt120InCommonTimePreparedFor256Frames) {
    const SyncInfo sync;
    std::string text;
    EXPECT_TRUE(sync.log(0, text));
    EXPECT_EQ(text, " 0 ppq:         0 L:   0.01161 D:           0 bar:     0 (4/4) bpm:   120"
                    " play:0 loop:0 diff:0 sr:44100 sl:  256 sp:0 ls:0 le:0");
    EXPECT_EQ(sync.blockBeats, 256 * ((120.0 / 60.0) / 44100.0));
    EXPECT_EQ(sync.beatsPerBar, 4.0);
    EXPECT_EQ(sync.samplesToBar, 0);
    EXPECT_EQ(sync.crossesBar, 1);
    EXPECT_EQ(sync.crossesLoopEnd, 0);
}

TEST(SyncInfo, ResetLeavesOnlyTempoMeterAndTheRoundedRate) {
    SyncInfo sync = playingAt(3.5, 0);
    sync.prepare(512, kRate, nullptr, nullptr, true);
    sync.reset(47999.6);
    SyncInfo expected;
    std::memset(static_cast<void*>(&expected), 0, sizeof expected);
    expected.bpm = 120.0;
    expected.timeSigNumerator = expected.timeSigDenominator = 4;
    expected.sampleRate = 48000.0;
    EXPECT_EQ(std::memcmp(&sync, &expected, sizeof sync), 0);
}

TEST(SyncInfo, CountsSamplesToTheNextBarAndBeat) {
    const double inf = std::numeric_limits<double>::infinity();
    const double nan = std::numeric_limits<double>::quiet_NaN();
    for (const auto& [bpm, ppq, barStart, numerator, denominator, toBar, toBeat] :
         Rows<double, double, double, double, double, int, int>{
             {120, 3.5, 0, 4, 4, 11025, 11025},
             {120, 0, 0, 4, 4, 0, 0},
             {120, 8, 8, 7, 8, 0, 0},
             {120, 2.25, 0, 4, 4, 38587, 16537}, // 16537.5 cut
             {120, 2.0, 0, 4, 4, 44100, 0},
             {120, 3.25, 0, 7, 8, 5512, 5512}, // the bar ends before the beat
             {120, 9.5, 0, 4, 4, 55125, 0},    // beyond the bar: wrapped; and never negative
             {120, 4.0, 0, 4, 4, 0, 0},        // on the next bar's line, bar start not yet moved
             {120, -4.0, 0, 4, 4, 88200, 0},   // a whole bar stays a whole bar
             {120, 72, 4, 4, 4, 0, 0},         // 17 bars behind: still 0
             {120, 1000.5, 0, 4, 4, 77175, 0}, // many bars away
             {120, -1000.5, 0, 4, 4, 11025, 11025},
             {120, 1, 0, 0, 4, 66150, 0}, // no length: 4/4
             {120, 1, 0, 4, -4, 66150, 0},
             {120, 1e300, 0, 4, 4, 0, 0},
             {0, 1, 0, 4, 4, INT32_MAX, 0}, // a stopped host may report no tempo
             {120, inf, 0, 4, 4, 0, 0},
             {120, nan, 0, 4, 4, 0, 0}}) {
        SCOPED_TRACE(ppq);
        EXPECT_EQ(samplesToNextBar(bpm, ppq, barStart, numerator, denominator, kRate), toBar);
        EXPECT_EQ(samplesToNextBeat(bpm, ppq, barStart, numerator, denominator, kRate), toBeat);
    }
}

// Bar by bar, as a position far from its bar is brought back; at 60 beats a minute, and so many
// samples a beat that the last bits show.
int SamplesByBars(double ppq, double barStart, double length) {
    double distance = length + barStart - ppq;
    while (distance < 0) {
        distance += length;
    }
    while (distance > length) {
        distance -= length;
    }
    return static_cast<int>(distance * kFineRate);
}

TEST(SyncInfo, APositionFarFromItsBarIsBroughtBackBarByBar) {
    for (const double numerator : {4.0, 7.0, 1.0}) {
        for (const double denominator : {4.0, 3.0, 7.0}) {
            const double length = numerator * 4.0 / denominator;
            for (int bars = -40; bars <= 4000; bars += bars < 40 ? 1 : 791) {
                for (const double beats : {0.0, 0.1 * length, length / 3}) {
                    for (const double ppq : {beats + bars * length, beats - bars * length}) {
                        ASSERT_EQ(samplesToNextBar(60, ppq, 1.0, numerator, denominator, kFineRate),
                                  ppq == 1.0 ? 0 : SamplesByBars(ppq, 1.0, length))
                            << ppq << " " << length;
                    }
                }
            }
        }
    }
}

TEST(SyncInfo, NamesTheFirstContradiction) {
    for (const auto& [what, spoil, code] : Rows<const char*, void (*)(SyncInfo&), int>{
             {"nothing", [](SyncInfo&) {}, 0},
             {"rate", [](SyncInfo& s) { s.sampleRate = 0, s.bpm = 0; }, 1},
             {"tempo", [](SyncInfo& s) { s.bpm = 0, s.ppq = -1; }, 3},
             {"position", [](SyncInfo& s) { s.ppq = -1, s.timeSigNumerator = 0; }, 4},
             {"numerator", [](SyncInfo& s) { s.timeSigNumerator = s.timeSigDenominator = 0; }, 5},
             {"denominator", [](SyncInfo& s) { s.timeSigDenominator = 0, s.barStart = 99; }, 6},
             {"bar start", [](SyncInfo& s) { s.ppq = 7.5; }, 7},
             {"bar end", [](SyncInfo& s) { s.ppq = 12.5; }, 8},
             {"loop end", [](SyncInfo& s) { s.loopEnd = s.loopStart = -1; }, 9},
             {"loop start", [](SyncInfo& s) { s.loopStart = -1; }, 10},
             {"loop order", [](SyncInfo& s) { s.loopStart = 33; }, 11},
             {"stopped", [](SyncInfo& s) { s.playing = 0, s.ppq = -1, s.bpm = 0; }, 0},
             {"not looping", [](SyncInfo& s) { s.looping = 0, s.loopEnd = -1; }, 0}}) {
        SyncInfo sync = playingAt(9, 8);
        sync.looping = 1;
        sync.loopStart = 8;
        sync.loopEnd = 32;
        spoil(sync);
        EXPECT_EQ(sync.valid(), code) << what;
    }
}

TEST(SyncInfo, ContradictionStopsTheTransportAndKeepsTheLastGoodBlock) {
    SyncInfo sync = playingAt(3.999, 0);
    ASSERT_TRUE(sync.prepare(512, kRate, nullptr, nullptr, true));
    const SyncInfo good = sync;
    EXPECT_EQ(good.crossesBar, 1);
    sync.ppq = 7.5;
    sync.barStart = 8;
    sync.timeSigNumerator = 7;
    sync.timeSigDenominator = 8;
    std::string text = "untouched";
    EXPECT_FALSE(sync.prepare(100, 48000.0, nullptr, &text, true));
    EXPECT_EQ(text, "untouched");
    SyncInfo expected = good;
    expected.ppq = 7.5;
    expected.barStart = 8;
    expected.timeSigNumerator = 7;
    expected.timeSigDenominator = 8;
    expected.playing = 0;
    expected.beatsPerBar = 3.5;
    expected.sampleLength = 100;
    expected.sampleRate = 48000.0;
    EXPECT_EQ(std::memcmp(&sync, &expected, sizeof sync), 0);
    sync.playing = 1;
    EXPECT_FALSE(sync.prepare(100, 48000.0, nullptr, &text, false));
    EXPECT_EQ(text.substr(0, 17), " 7 ppq:       7.5");
    EXPECT_EQ(sync.lastLoggedPpq, 7.5);
    sync.timeSigDenominator = 0;
    sync.prepare(100, 48000.0, nullptr, nullptr, true);
    EXPECT_EQ(sync.beatsPerBar, 4.0);
}

TEST(SyncInfo, LoopCrossingsUseTheLoopAndThePreviousBlockLength) {
    for (const auto& [what, ppq, previousBlockBeats, looping, crosses] :
         Rows<const char*, double, double, int, int>{
             {"at the loop's start", 16, 0, 1, 1},
             {"inside", 20, 0, 1, 0},
             {"past the loop's end within the block", 31.99, 0, 1, 1},
             {"behind the loop", 40, 0, 0, 0},
             {"before the loop", 15.99, 0, 0, 0},
             {"before the loop, but not by the last block's length", 15.99, 1, 1, 0}}) {
        SyncInfo sync = playingAt(ppq, std::floor(ppq / 4) * 4);
        sync.looping = 1;
        sync.loopStart = 16;
        sync.loopEnd = 32;
        sync.blockBeats = previousBlockBeats;
        ASSERT_TRUE(sync.prepare(512, kRate, nullptr, nullptr, true)) << what;
        EXPECT_EQ(sync.looping, looping) << what;
        EXPECT_EQ(sync.crossesLoopEnd, crosses) << what;
    }
}

} // namespace
} // namespace velnor::testing
