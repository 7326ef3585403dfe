#include "framework/tests/HostBuffers.h"
#include "framework/tests/TestInstrument.h"

#include <gmock/gmock.h>

#include <thread>

namespace velnor {
namespace {

constexpr AudioUnitPropertyID kTold = kAudioUnitProperty_ContextName;

/// A listener's user data, and what to do when it is told.
struct Told {
    int count = 0;
    AudioUnit by = nullptr;
    Told* alsoAdds = nullptr;
    bool removesItself = false;
};

void Tell(void* inTold, AudioUnit inUnit, AudioUnitPropertyID inID, AudioUnitScope,
          AudioUnitElement) {
    Told& told = *static_cast<Told*>(inTold);
    ++told.count;
    told.by = inUnit;
    if (told.alsoAdds != nullptr) {
        AudioUnitAddPropertyListener(inUnit, inID, Tell, told.alsoAdds);
    }
    if (told.removesItself) {
        AudioUnitRemovePropertyListener(inUnit, inID, Tell);
    }
}

void TellOther(void* inTold, AudioUnit, AudioUnitPropertyID, AudioUnitScope, AudioUnitElement) {
    static_cast<Told*>(inTold)->count += 100;
}

TEST(PropertyListeners, AreCalledOnceForEachUserDataUntilThePairIsRemoved) {
    const OpenInstrument unit;
    Told one, two;
    for (Told* told : {&one, &one, &two}) {
        EXPECT_EQ(AudioUnitAddPropertyListener(unit, kTold, Tell, told), noErr);
    }
    AudioUnitAddPropertyListener(unit, kTold, TellOther, &one);
    AudioUnitAddPropertyListener(unit, kTold + 1, Tell, &two);
    unit->PropertyChanged(kTold, 0, 0);
    EXPECT_EQ(one.count, 101);
    EXPECT_EQ(two.count, 1);
    EXPECT_EQ(one.by, static_cast<AudioUnit>(unit));
    EXPECT_EQ(AudioUnitRemovePropertyListener(unit, kTold, Tell), noErr);
    EXPECT_EQ(AudioUnitRemovePropertyListener(unit, kTold, Tell), noErr) << "none is no error";
    unit->PropertyChanged(kTold, 0, 0);
    EXPECT_EQ(one.count, 201);
    EXPECT_EQ(two.count, 1);
    AudioUnitAddPropertyListener(unit, kTold, Tell, &two);
    unit->PropertyChanged(kTold, 0, 0);
    EXPECT_EQ(two.count, 2) << "a freed slot serves again";
}

TEST(PropertyListeners, MayChangeTheListWhileTheyAreCalled) {
    const OpenInstrument unit;
    Told late, adds, removes, after;
    adds.alsoAdds = &late;
    removes.removesItself = true;
    AudioUnitAddPropertyListener(unit, kTold, Tell, &removes);
    AudioUnitAddPropertyListener(unit, kTold, Tell, &after);
    AudioUnitAddPropertyListener(unit, kTold, TellOther, &after);
    unit->PropertyChanged(kTold, 0, 0);
    EXPECT_EQ(removes.count, 1);
    EXPECT_EQ(after.count, 100) << "removed before its turn";
    AudioUnitAddPropertyListener(unit, kTold, Tell, &adds);
    unit->PropertyChanged(kTold, 0, 0);
    EXPECT_EQ(late.count, 0) << "registered after the change";
    adds.alsoAdds = nullptr;
    unit->PropertyChanged(kTold, 0, 0);
    EXPECT_EQ(late.count, 1);
}

/// Each thread does what a host's threads do, on one instrument at the same time.
TEST(Threads, RenderNotificationsParametersListenersAndPropertyReadsDoNotDisturbEachOther) {
    const OpenInstrument unit({.outputs = 2});
    AudioUnitInitialize(unit);
    constexpr int kRounds = 500;
    std::atomic<bool> rendering{true};
    std::thread render([&] {
        HostBuffers host(2, 64);
        for (int round = 0; round < kRounds; ++round) {
            EXPECT_EQ(host.Pull(unit, 0, 64, round), noErr);
            EXPECT_EQ(host.Pull(unit, 1, 64, round), noErr);
            EXPECT_EQ(host.Pull(unit, 2, 64, round), kAudioUnitErr_InvalidElement);
        }
        rendering = false;
    });
    std::thread parameters([&] {
        for (UInt32 id = 0; rendering; ++id) {
            EXPECT_EQ(AudioUnitSetParameter(unit, id % 5000, 0, 0, 1, 0), noErr);
        }
    });
    std::thread notifications([&] {
        const AURenderCallback proc = [](void*, AudioUnitRenderActionFlags*, const AudioTimeStamp*,
                                         UInt32, UInt32,
                                         AudioBufferList*) -> OSStatus { return noErr; };
        const AudioUnitPropertyListenerProc listener = [](void*, AudioUnit, AudioUnitPropertyID,
                                                          AudioUnitScope, AudioUnitElement) {};
        while (rendering) {
            AudioUnitAddRenderNotify(unit, proc, nullptr);
            AudioUnitAddPropertyListener(unit, kAudioUnitProperty_LastRenderError, listener,
                                         nullptr);
            AudioUnitRemoveRenderNotify(unit, proc, nullptr);
            AudioUnitRemovePropertyListener(unit, kAudioUnitProperty_LastRenderError, listener);
        }
    });
    while (rendering) {
        OSStatus error = noErr;
        EXPECT_EQ(unit.Get(kAudioUnitProperty_LastRenderError, 0, 0, error), noErr);
        UInt32 size = 0;
        EXPECT_EQ(
            AudioUnitGetPropertyInfo(unit, kAudioUnitProperty_ParameterList, 0, 0, &size, nullptr),
            noErr);
        std::vector<AudioUnitParameterID> ids(size / sizeof(AudioUnitParameterID) + 1, 77777);
        size = static_cast<UInt32>((ids.size() - 1) * sizeof ids[0]);
        if (size > 0) {
            EXPECT_EQ(AudioUnitGetProperty(unit, kAudioUnitProperty_ParameterList, 0, 0, ids.data(),
                                           &size),
                      noErr);
        }
        EXPECT_EQ(ids.back(), 77777u) << "no id beyond the room";
    }
    for (std::thread* thread : {&render, &parameters, &notifications}) {
        thread->join();
    }
}

} // namespace
} // namespace velnor
