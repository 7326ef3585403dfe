#include "engines/soundfont/StateExchange.h"

namespace velnor::soundfont {

void StateEdit::applyTo(EngineState& target) const VELNOR_NONBLOCKING {
    if (isWhole) {
        target = state;
    } else {
        copyProperties(state.globals, properties, target.globals);
    }
}

const StateExchange::Snapshot& StateExchange::newestSnapshot() {
    const Snapshot& snapshot = mSnapshots.read();
    while (!mEdits.empty() && mEdits.front()->id <= snapshot.acknowledged) {
        mEdits.pop_front();
    }
    return snapshot;
}

// Takes back the edit that rendering did not take up yet, or begins a new one: either way, nobody
// else sees it until it is posted.
StateEdit& StateExchange::beginEdit() {
    newestSnapshot();
    if (StateEdit* unseen = mPosted.exchange(nullptr, std::memory_order_acq_rel)) {
        return *unseen;
    }
    mEdits.push_back(std::make_unique<StateEdit>());
    mEdits.back()->id = ++mLastId;
    return *mEdits.back();
}

EngineState StateExchange::latest() {
    std::lock_guard lock(mMutex);
    EngineState state = newestSnapshot().state;
    for (const auto& edit : mEdits) {
        edit->applyTo(state);
    }
    return state;
}

void StateExchange::post(const EngineState& whole) {
    std::lock_guard lock(mMutex);
    StateEdit& edit = beginEdit();
    edit.state = whole;
    edit.isWhole = true;
    mPosted.store(&edit, std::memory_order_release);
}

bool StateExchange::post(size_t property, const void* bytes) {
    Globals checked;
    if (!writeProperty(checked, property, bytes)) {
        return false;
    }
    std::lock_guard lock(mMutex);
    StateEdit& edit = beginEdit();
    edit.properties |= PropertySet{1} << property;
    copyProperties(checked, PropertySet{1} << property, edit.state.globals);
    mPosted.store(&edit, std::memory_order_release);
    return true;
}

const StateEdit* StateExchange::take() VELNOR_NONBLOCKING {
    if (mPosted.load(std::memory_order_relaxed) == nullptr) {
        return nullptr;
    }
    return mPosted.exchange(nullptr, std::memory_order_acq_rel);
}

void StateExchange::publish(const EngineState& state, uint64_t acknowledged) VELNOR_NONBLOCKING {
    mSnapshots.write(Snapshot{state, acknowledged});
}

} // namespace velnor::soundfont
