// A host that does at random everything that hosts do: blocks, rates, buses, resets, offline
// switches, state saves, editors.
#ifndef VELNOR_BRIDGE_TESTS_SOAK_SOAKHOST_H
#define VELNOR_BRIDGE_TESTS_SOAK_SOAKHOST_H

#include "testing/HostWindow.h"
#include "testing/TestHost.h"

#include <memory>
#include <random>
#include <string>
#include <vector>

namespace velnor::testing {

class SoakHost {
public:
    // A component bundle; with checkEvents its engine must be the probe.
    SoakHost(std::string bundle, std::uint64_t seed, bool checkEvents);
    ~SoakHost();

    // Opens an instrument where none is open, plays one set-up of it (some hundred blocks) and
    // closes it again more often than not. Failures are GoogleTest's.
    void playSession();

    double seconds() const { return mSeconds; } // simulated so far
    std::uint64_t blocks() const { return mBlocks; }
    std::uint64_t events() const { return mEvents; }
    // Sessions of more than a second; those in which something was heard.
    int longSessions() const { return mLongSessions; }
    int soundingSessions() const { return mSoundingSessions; }
    void close(); // editor, window, instrument

private:
    int pick(int low, int high);
    bool oneIn(int n) { return pick(1, n) == 1; }

    void setUp();
    void sendEvents(UInt32 frames);
    void pull(UInt32 frames);
    void checkBlock(UInt32 frames);
    void disturb();
    void saveAndRestore();

    const std::string mBundle;
    const bool mCheckEvents;
    std::mt19937_64 mRandom;
    std::unique_ptr<Instrument> mInstrument;
    std::optional<HostWindow> mEditor;
    std::vector<UInt32> mChannels; // of each bus
    double mRate = 44100.0;
    UInt32 mMostFrames = 0;
    double mSampleTime = 0.0;
    std::vector<MIDIEvent> mExpected; // sent since the last pull or reset, by offset
    double mSeconds = 0.0;
    float mPeak = 0.0F; // of this session
    int mLongSessions = 0;
    int mSoundingSessions = 0;
    std::uint64_t mBlocks = 0;
    std::uint64_t mEvents = 0;
};

} // namespace velnor::testing

#endif
