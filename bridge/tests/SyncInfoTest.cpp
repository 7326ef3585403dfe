#include "bridge/SyncInfo.h"

#include "testing/Testing.h"

#include <cmath>
#include <cstring>
#include <limits>

namespace velnor::testing {
namespace {

constexpr double kRate = 44100.0;

SyncInfo playingAt(double ppq, double barStart) {
    SyncInfo sync;
    sync.playing = 1;
    sync.ppq = ppq;
    sync.barStart = barStart;
    return sync;
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
        SyncInfo sync; // stopped, so that every position counts
        sync.bpm = bpm;
        sync.ppq = ppq;
        sync.barStart = barStart;
        sync.timeSigNumerator = static_cast<int>(numerator);
        sync.timeSigDenominator = static_cast<int>(denominator);
        sync.prepare(256, kRate, nullptr, nullptr, true);
        EXPECT_EQ(sync.samplesToBar, toBar) << "of a whole snapshot";
    }
}

// Bar by bar, to the last bit; at 60 beats a minute, and so many samples a beat that it shows.
TEST(SyncInfo, APositionFarFromItsBarIsBroughtBackBarByBar) {
    constexpr double kFineRate = 1 << 26;
    for (const double denominator : {4.0, 3.0, 7.0}) {
        const double length = 7 * 4.0 / denominator;
        for (double ppq = -4000.2 * length; ppq < 4000 * length; ppq += 97.37 * length) {
            double distance = length - ppq;
            while (distance < 0) {
                distance += length;
            }
            while (distance > length) {
                distance -= length;
            }
            ASSERT_EQ(samplesToNextBar(60, ppq, 0, 7, denominator, kFineRate),
                      static_cast<int>(distance * kFineRate))
                << ppq << " " << length;
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
    EXPECT_EQ(sync.crossesBar, 1);
    SyncInfo expected = sync;
    for (SyncInfo* each : {&sync, &expected}) {
        each->ppq = 7.5;
        each->barStart = 8;
        each->timeSigNumerator = 7;
        each->timeSigDenominator = 8;
    }
    expected.beatsPerBar = 3.5;
    expected.sampleLength = 100;
    expected.sampleRate = 48000.0;
    std::string text = "untouched";
    EXPECT_FALSE(sync.prepare(100, 48000.0, nullptr, &text, true));
    EXPECT_EQ(text, "untouched");
    expected.playing = 0;
    EXPECT_EQ(std::memcmp(&sync, &expected, sizeof sync), 0);
    sync.playing = 1;
    EXPECT_FALSE(sync.prepare(100, 48000.0, nullptr, &text, false));
    EXPECT_EQ(text, " 7 ppq:       7.5 L:   0.02322 D:         7.5 bar:     8 (7/8) bpm:   120"
                    " play:1 loop:0 diff:0 sr:48000 sl:  100 sp:0 ls:0 le:0");
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
