// Carries the engine's state between the thread that renders and the threads that ask and change,
// so that neither waits for the other: changes travel one way as edits, the state that results the
// other way as snapshots.
#ifndef VELNOR_ENGINES_SOUNDFONT_STATEEXCHANGE_H
#define VELNOR_ENGINES_SOUNDFONT_STATEEXCHANGE_H

#include "engines/soundfont/EngineState.h"
#include "engines/soundfont/Properties.h"
#include "engines/soundfont/TripleBuffer.h"
#include "platform/Facts.h"

#include <atomic>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>

namespace velnor::soundfont {

// A change that is under way: a whole state, or some properties, or properties after a state.
struct StateEdit {
    uint64_t id = 0; // ascending
    bool isWhole = false;
    PropertySet properties = 0;
    EngineState state;

    void applyTo(EngineState& target) const VELNOR_NONBLOCKING;
};

class StateExchange {
public:
    // The asking side. Thread any, concurrent, may block; it never waits for the rendering side.

    // The state as it is with every posted change, whether rendering took it up already or not.
    EngineState latest();
    void post(const EngineState& whole);
    // False, and nothing posted, when the bytes are out of the property's range.
    bool post(size_t property, const void* bytes);

    // The rendering side. Thread any, one at a time, nonblocking.

    // Null when nothing changed since the last take; else good until it is acknowledged.
    const StateEdit* take() VELNOR_NONBLOCKING;
    // `acknowledged`: id of the last edit taken; all of it is in the state.
    void publish(const EngineState& state, uint64_t acknowledged) VELNOR_NONBLOCKING;

private:
    struct Snapshot {
        EngineState state;
        uint64_t acknowledged;
    };

    const Snapshot& newestSnapshot();
    StateEdit& beginEdit();

    std::mutex mMutex; // among the asking threads
    std::deque<std::unique_ptr<StateEdit>> mEdits;
    uint64_t mLastId = 0;
    std::atomic<StateEdit*> mPosted{nullptr};
    TripleBuffer<Snapshot> mSnapshots;
};

} // namespace velnor::soundfont

#endif
