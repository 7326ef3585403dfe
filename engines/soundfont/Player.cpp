#include "engines/soundfont/Player.h"

#include "engines/soundfont/Limits.h"
#include "engines/soundfont/ParameterNumber.h"
#include "engines/soundfont/StateTransfer.h"

#include <algorithm>
#include <utility>

namespace velnor::soundfont {

namespace {

constexpr uint32_t kAllChannels = (uint32_t{1} << kMidiChannels) - 1;

void silence(float* const* channels, int count, uint32_t frames) VELNOR_NONBLOCKING {
    for (int channel = 0; channel < count; ++channel) {
        std::fill_n(channels[channel], frames, 0.0F);
    }
}

} // namespace

Player::Player(std::unique_ptr<Synth> synth, bool compatSlots, StateExchange& exchange)
    : mSynth(std::move(synth)), mExchange(exchange), mCompatSlots(compatSlots) {
    captureChannels(*mSynth, mState);
    publish();
}

void Player::stop() {
    mIsRunning = false;
    if (const StateEdit* edit = mExchange.take()) {
        edit->applyTo(mState);
        mTakenEdit = edit->id;
        mIsFresh = false;
    }
    publish();
}

void Player::start(bool offline) {
    if (!mIsFresh) {
        restart();
        publish();
    }
    if (!offline) {
        mSynth->loadAllSamples();
    }
    mIsRunning = true;
}

bool Player::setRate(int32_t rate) {
    mIsRateGood = kRateLimits.hold(rate);
    if (!mIsRateGood || rate == mRate) {
        return mIsRateGood;
    }
    mRate = rate;
    mIsFresh = false;
    if (mIsRunning) {
        restart();
    }
    return true;
}

void Player::restart() {
    mSynth->restart(mRate);
    applyGlobals(*mSynth, Globals{}, mState.globals);
    mApplied = mState.globals;
    applyChannels(*mSynth, mState);
    captureChannels(*mSynth, mState);
    mSynth->setInterpolation(mIsBest);
    mIsFresh = true;
}

void Player::setQuality(bool best) VELNOR_NONBLOCKING {
    if (best != mIsBest) {
        mIsBest = best;
        mSynth->setInterpolation(best);
    }
}

void Player::process(const MIDIEventBlock& block, float* const* channels,
                     uint32_t frames) VELNOR_NONBLOCKING {
    if (!mIsRunning || !mIsRateGood) {
        silence(channels, 2 * mSynth->pairs(), frames);
        return;
    }
    const uint64_t takenBefore = mTakenEdit;
    takeEdit();
    play(block, channels, frames);
    mIsFresh = false;
    if (mChangedChannels != 0 || mTakenEdit != takenBefore) {
        captureChanges();
        publish();
    }
}

void Player::takeEdit() VELNOR_NONBLOCKING {
    const StateEdit* edit = mExchange.take();
    if (edit == nullptr) {
        return;
    }
    mTakenEdit = edit->id;
    edit->applyTo(mState);
    applyGlobals(*mSynth, mApplied, mState.globals);
    mApplied = mState.globals;
    if (edit->isWhole) {
        mSynth->reset();
        mSynth->setInterpolation(mIsBest);
        applyChannels(*mSynth, mState);
        mChangedChannels = kAllChannels;
    }
}

void Player::publish() VELNOR_NONBLOCKING {
    mExchange.publish(mState, mTakenEdit);
}

void Player::play(const MIDIEventBlock& block, float* const* channels,
                  uint32_t frames) VELNOR_NONBLOCKING {
    const uint32_t count = std::min<uint32_t>(block.count, kOrmoMaxBlockEvents);
    uint32_t position = 0;
    for (uint32_t i = 0; i < count; ++i) {
        const MIDIEvent& event = block.events[i];
        const auto wanted = static_cast<uint32_t>(std::max<int32_t>(event.offset, 0));
        const uint32_t at = std::clamp(wanted, position, frames);
        mSynth->render(channels, position, at - position);
        position = at;
        obey(parseMidi(event, mCompatSlots));
    }
    mSynth->render(channels, position, frames - position);
}

void Player::obey(const MidiMessage& message) VELNOR_NONBLOCKING {
    if (message.kind == MidiMessage::kIgnored ||
        choosesTuningTable(mState.channels[message.channel], message)) {
        return;
    }
    if (setsSampleMove(mState.channels[message.channel], message)) {
        // As after a data entry: the next numbers choose another generator.
        obey({MidiMessage::kController, message.channel, kNrpnHigh, kSoundFontNrpn});
        return;
    }
    if (message.kind == MidiMessage::kSystemReset) {
        obeySystemReset();
    } else if (mSynth->send(message) && !message.isNote()) {
        noteChange(message);
    }
}

void Player::obeySystemReset() VELNOR_NONBLOCKING {
    mSynth->reset();
    mSynth->setInterpolation(mIsBest);
    mState.channels = {};
    captureChannels(*mSynth, mState);
    mChangedChannels = kAllChannels;
}

void Player::noteChange(const MidiMessage& message) VELNOR_NONBLOCKING {
    track(mState.channels[message.channel], message);
    const bool isModeMessage =
        message.kind == MidiMessage::kController && message.data1 >= kFirstModeMessage;
    mChangedChannels |= isModeMessage ? kAllChannels : uint32_t{1} << message.channel;
}

void Player::captureChanges() VELNOR_NONBLOCKING {
    for (int channel = 0; channel < kMidiChannels; ++channel) {
        if ((mChangedChannels >> channel & 1U) != 0) {
            captureChannel(*mSynth, channel, mState);
        }
    }
    mChangedChannels = 0;
}

} // namespace velnor::soundfont
