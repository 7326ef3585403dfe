// A host around the built component: a home of its own with preferences and the probe engine, and
// instruments opened through the component manager.
#ifndef VELNOR_TESTING_TESTHOST_H
#define VELNOR_TESTING_TESTHOST_H

#include "bridge/ProductRecord.h"
#include "engines/probe/Probe.h"
#include "platform/AudioUnit.h"
#include "testing/AlertRecorder.h"
#include "testing/LogFile.h"
#include "testing/TempHome.h"

#include <functional>
#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <vector>

namespace velnor::testing {

// Paths of what the build made: "Velnor.component", "Probe.engine", ...
std::string builtBundle(const std::string& name);
// The file in a bundle that is loaded in this process.
std::string executableOf(const std::string& bundle);

class TestHost {
public:
    // Preferences as an installation makes them: data in "/data", the engine is the probe.
    TestHost();
    ~TestHost();

    TempHome home;
    AlertRecorder alerts;

    // Replaces the domain's file; no value leaves the key out.
    void setPreference(const std::string& domain, const std::string& key,
                       const std::optional<std::string>& value);
    void setDataDir(const std::optional<std::string>& value) {
        setPreference("com.Tavo.Tarn 12", "base_dir", value);
    }
    void setEnginePath(const std::optional<std::string>& value) {
        setPreference("com.velnor.ormo", "path", value);
    }

    // The lines of a log in the product's folder: severity and message, without thread and time.
    std::vector<std::string> log(const std::string& file = "Tarn 12AU_Host.log") const {
        return logMessages(logPath(file));
    }
    std::string logPath(const std::string& file = "Tarn 12AU_Host.log") const {
        return home.DataHome() + "/Tavo/Tarn 12/" + file;
    }

    // A copy of the component whose records all went through patch.
    std::string patchedComponent(const std::function<void(ProductRecord&)>& patch);
};

// The probe in the bundle, which dlopen loads in this mode.
probe::Probe* probeOf(const std::string& bundle, int mode);
// The probe that instruments of this process load, its record empty and its behaviour as new.
probe::Probe& freshProbe();
// The probe's calls as text, a line each: opcode, target and the seven operands in decimal;
// addresses become "ptr", the engine handle "E". Clears them.
std::vector<std::string> takeCalls();
// The calls of one opcode; nothing is cleared.
std::vector<probe::Call> callsOf(OrmoOpcode opcode);
// The events that a process call brought.
std::vector<MIDIEvent> eventsOf(const probe::Call& call);

// What the host's callbacks answer, and whether they do.
struct Transport {
    OSStatus beatStatus = noErr, timeStatus = noErr, stateStatus = noErr;
    Float64 beat = 9.5, tempo = 90, downBeat = 9;
    Float32 numerator = 2.6F;
    UInt32 denominator = 8;
    Boolean playing = 1, changed = 1, cycling = 1;
    Float64 samplePos = 12345, cycleStart = 8, cycleEnd = 16;
    int wrongPresets = 0; // calls whose places did not hold what stands for no answer

    HostCallbackInfo callbacks();
};

// One open instrument.
class Instrument {
public:
    explicit Instrument(const std::string& bundle = builtBundle("Velnor.component"));
    ~Instrument() { close(); }
    Instrument(const Instrument&) = delete;
    Instrument& operator=(const Instrument&) = delete;

    AudioUnit unit() const { return mUnit; }
    Component view() const { return mComponents[1]; }
    OSStatus initialize() { return AudioUnitInitialize(mUnit); }
    OSStatus uninitialize() { return AudioUnitUninitialize(mUnit); }
    void close();

    OSStatus setFormat(UInt32 bus, UInt32 channels, Float64 rate = 44100.0);
    OSStatus setBusCount(UInt32 count) {
        return set(kAudioUnitProperty_ElementCount, count, kAudioUnitScope_Output);
    }
    OSStatus setOffline(UInt32 offline) { return set(kAudioUnitProperty_OfflineRender, offline); }
    void setHostCallbacks(const HostCallbackInfo& callbacks) {
        EXPECT_EQ(set(kAudioUnitProperty_HostCallbacks, callbacks), noErr);
    }
    OSStatus sendMidi(UInt32 status, UInt32 data1, UInt32 data2, SInt32 offset) {
        return MusicDeviceMIDIEvent(mUnit, status, data1, data2, static_cast<UInt32>(offset));
    }

    // A property of the global scope, element 0.
    template <typename T>
    OSStatus get(AudioUnitPropertyID id, T& value, AudioUnitScope scope = kAudioUnitScope_Global) {
        UInt32 size = sizeof value;
        return AudioUnitGetProperty(mUnit, id, scope, 0, &value, &size);
    }
    template <typename T>
    OSStatus set(AudioUnitPropertyID id, const T& value,
                 AudioUnitScope scope = kAudioUnitScope_Global) {
        return AudioUnitSetProperty(mUnit, id, scope, 0, &value, sizeof value);
    }

    // Pulls a bus at a sample time into untouched memory of the host's.
    struct Audio {
        OSStatus status;
        std::vector<std::vector<float>> channels;
    };
    Audio pull(UInt32 bus, UInt32 channels, UInt32 frames, Float64 sampleTime);
    // The next block of a stereo bus 0, after the one before.
    Audio pullNext(UInt32 frames = 64) {
        return pull(0, 2, frames, std::exchange(mSampleTime, mSampleTime + frames));
    }

private:
    Component mComponents[2] = {}; // instrument and view
    AudioUnit mUnit = nullptr;
    Float64 mSampleTime = 0;
};

// A test with the shipped instrument open in a host.
struct Opened : ::testing::Test {
    TestHost host;
    Instrument instrument;
};
// The same, ready to render, with no call on the probe's record.
struct Playing : Opened {
    Playing() {
        EXPECT_EQ(instrument.initialize(), noErr);
        freshProbe();
    }
};

} // namespace velnor::testing

#endif
