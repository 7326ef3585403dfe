#include "testing/HostWindow.h"
#include "testing/TestHost.h"
#include "testing/Testing.h"

#include <algorithm>
#include <atomic>

namespace velnor::testing {
namespace {

constexpr UInt32 kFrames = 512;

// The instrument with two stereo buses and the small engine.
class Tone : public Test {
protected:
    Tone() { host.setEnginePath(builtBundle("Tone.engine")); }
    void SetUp() override {
        instrument.emplace(
            host.patchedComponent([](ProductRecord& record) { record.multiOutput = 1; }));
        ASSERT_EQ(instrument->setBusCount(2), noErr);
        ASSERT_EQ(instrument->initialize(), noErr);
    }
    // The frame of the next block's first sound on each bus; -1 is none.
    std::vector<int> starts() {
        std::vector<int> frames;
        for (const UInt32 bus : {0U, 1U}) {
            const auto heard = instrument->pull(bus, 2, kFrames, time).channels;
            EXPECT_EQ(heard[0], heard[1]);
            const auto first =
                std::find_if(heard[0].begin(), heard[0].end(), [](float x) { return x != 0; });
            frames.push_back(first == heard[0].end() ? -1
                                                     : static_cast<int>(first - heard[0].begin()));
        }
        time += kFrames;
        return frames;
    }
    void reset() {
        EXPECT_EQ(AudioUnitReset(instrument->unit(), kAudioUnitScope_Global, 0), noErr);
    }

    TestHost host;
    std::optional<Instrument> instrument;
    Float64 time = 0;
};

// A sine's first sample is 0, so it is heard a frame after its event.
TEST_F(Tone, PutsNotesOnTheirFramesAndTheirChannelsBus) {
    for (const auto& [status, offset, first, second, next] :
         Rows<UInt32, SInt32, int, int, int>{{0x90, 0, 1, -1, 0},
                                             {0x91, 100, -1, 101, 0},
                                             {0x92, 511, -1, -1, 0},
                                             {0x93, -9, -1, 1, 0},
                                             {0x90, 512, -1, -1, 1},
                                             {0x90, 99999, -1, -1, 1}}) {
        instrument->sendMidi(status, 69, 127, offset);
        EXPECT_EQ(starts(), (std::vector{first, second})) << offset;
        EXPECT_EQ(starts()[status & 1], next) << offset;
        instrument->sendMidi(status, 69, 0, 0);
        while (starts() != std::vector{-1, -1}) {
            ASSERT_LT(time, 1e6) << "a released key falls silent";
        }
        instrument->sendMidi(status, 69, 127, 0);
        starts();
        reset();
        EXPECT_EQ(starts(), (std::vector{-1, -1}));
    }
}

TEST_F(Tone, KeepsInstancesApartRefusesStrangersAndHasAnEmptyView) {
    OrmoOpcodeProc entry = nullptr;
    OrmoEngineHandle closed = 0;
    {
        Instrument other;
        ASSERT_EQ(other.initialize(), noErr);
        EXPECT_EQ(other.get(kPropertyEngineOpcode, entry), noErr);
        EXPECT_EQ(other.get(kPropertyEngineHandle, closed), noErr);
        other.sendMidi(0x90, 69, 127, 0);
        EXPECT_EQ(starts(), (std::vector{-1, -1}));
        EXPECT_NE(other.pullNext().channels[0][63], 0);
        EXPECT_EQ(other.set(kVendorPropertyFirst, 1), kAudioUnitErr_InvalidPropertyValue);
    }
    for (const OrmoWord handle :
         {OrmoWord{0}, static_cast<OrmoWord>(closed), OrmoWord{257}, OrmoWord{-1}}) {
        for (const OrmoWord opcode : {OrmoWord{kOpResume}, OrmoWord{kOpProcess}, OrmoWord{31}}) {
            EXPECT_NE(entry(handle, opcode, 0, 0, 0, 0, 0, 0, 0), 0) << handle << " " << opcode;
        }
    }
    HostWindow window;
    ASSERT_EQ(window.Show(instrument->view(), instrument->unit()), noErr);
    EXPECT_EQ(Count(window.pane), 0);
}

TEST_F(Tone, RendersWhileMainDoesWhatItMay) {
    std::atomic<bool> done{false};
    InThreads(2, [&](int thread) {
        if (thread == 0) {
            for (int block = 0; block < 200; ++block) {
                instrument->sendMidi(0x90, 60, 100, 0);
                EXPECT_EQ(instrument->pullNext(kFrames).status, noErr);
            }
            done = true;
        }
        while (!done) {
            reset();
            instrument->setOffline(1);
            CFPropertyListRef state = nullptr;
            EXPECT_EQ(instrument->get(kAudioUnitProperty_ClassInfo, state), noErr);
            CFRelease(state);
        }
    });
}

} // namespace
} // namespace velnor::testing
