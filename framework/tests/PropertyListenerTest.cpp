#include "framework/PropertyListenerList.h"
#include "framework/tests/OpenInstrument.h"

#include <functional>

namespace velnor::testing {
namespace {

constexpr AudioUnitPropertyID kTold = kAudioUnitProperty_ContextName;

/// A listener's user data, and what to do when it is told.
struct Told {
    int count = 0;
    AudioUnit by = nullptr;
    std::function<void()> then = [] {};
};

void Tell(void* inTold, AudioUnit inUnit, AudioUnitPropertyID, AudioUnitScope, AudioUnitElement) {
    Told& told = *static_cast<Told*>(inTold);
    ++told.count;
    told.by = inUnit;
    told.then();
}

std::atomic<int> gMismatches{0};

void TellOther(void* inTold, AudioUnit, AudioUnitPropertyID, AudioUnitScope, AudioUnitElement) {
    static_cast<Told*>(inTold)->count += 100;
}

TEST(PropertyListeners, MayChangeTheListWhileTheyAreCalled) {
    const OpenInstrument unit;
    Told late, adds, removes, after;
    adds.then = [&] { AudioUnitAddPropertyListener(unit, kTold, Tell, &late); };
    removes.then = [&] { AudioUnitRemovePropertyListener(unit, kTold, Tell); };
    AudioUnitAddPropertyListener(unit, kTold, Tell, &removes);
    AudioUnitAddPropertyListener(unit, kTold, Tell, &after);
    AudioUnitAddPropertyListener(unit, kTold, TellOther, &after);
    unit->PropertyChanged(kTold, 0, 0);
    EXPECT_EQ(removes.count, 1);
    EXPECT_EQ(after.count, 100) << "removed before its turn";
    AudioUnitAddPropertyListener(unit, kTold, Tell, &adds);
    unit->PropertyChanged(kTold, 0, 0);
    EXPECT_EQ(late.count, 0) << "registered after the change";
    adds.then = [] {};
    unit->PropertyChanged(kTold, 0, 0);
    EXPECT_EQ(late.count, 1);
}

// Each proc goes with one user data alone, so a registration that is read while it is made shows.
template <int kOwn>
void Match(void* userData, AudioUnit, AudioUnitPropertyID, AudioUnitScope, AudioUnitElement) {
    if (*static_cast<int*>(userData) != kOwn) {
        ++gMismatches;
    }
}

TEST(PropertyListeners, AreToldWholeWhileOtherThreadsChangeTheList) {
    PropertyListenerList list;
    std::array<int, 2> own = {0, 1};
    std::atomic<bool> changing{true};
    InThreads(2, [&](int thread) {
        if (thread == 1) {
            while (changing) {
                list.Notify(nullptr, kTold, 0, 0);
            }
            return;
        }
        for (int round = 0; round < 200000; ++round) {
            list.Add(kTold, Match<0>, &own[0]);
            list.Remove(kTold, Match<0>);
            list.Add(kTold, Match<1>, &own[1]);
            list.Remove(kTold, Match<1>);
        }
        changing = false;
    });
    EXPECT_EQ(gMismatches, 0);
}

} // namespace
} // namespace velnor::testing
