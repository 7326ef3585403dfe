#include "host/render/SongRenderer.h"

#include <algorithm>
#include <cmath>

namespace velnor::host {

namespace {

// A 24-bit file's smallest step: what is below it everywhere is silence.
constexpr float kSilence = 1.0f / 8388608.0f;
// Instruments queue so many messages and more for one pull. Of more on one frame the rest comes a
// frame late.
constexpr std::size_t kMostMessagesOfABlock = 1000;
constexpr double kSilentSeconds = 0.25; // how long it must last to end a tail

std::int64_t framesOf(double seconds, double rate) {
    return static_cast<std::int64_t>(std::floor(seconds * rate + 0.5));
}

} // namespace

std::int64_t frameOfTick(const TempoMap& map, std::int64_t tick, double rate) {
    return framesOf(map.secondsAtTick(tick), rate);
}

SongRenderer::SongRenderer(Instrument& instrument, const MidiSong& song, const RenderPlan& plan)
    : mInstrument(instrument), mSong(song), mPlan(plan), mTransport(song.tempoMap, plan.rate) {
    mFrame = framesOf(plan.fromSeconds, plan.rate);
    mStartFrame = mFrame;
    mEndFrame = frameOfTick(song.tempoMap, song.lengthTicks, plan.rate);
    mTailFrames = framesOf(plan.tailSeconds, plan.rate);
    if (plan.toSeconds >= 0.0) {
        mEndFrame = framesOf(plan.toSeconds, plan.rate);
        mTailFrames = 0;
    }
    mMessageFrames.reserve(song.messages.size());
    for (const SongMessage& message : song.messages) {
        mMessageFrames.push_back(frameOfTick(song.tempoMap, message.tick, plan.rate));
    }
    mNext = static_cast<std::size_t>(
        std::lower_bound(mMessageFrames.begin(), mMessageFrames.end(), mFrame) -
        mMessageFrames.begin());
    mInstrument.setMaximumFrames(plan.block);
    mInstrument.setRate(plan.rate);
    mInstrument.setCallbacks(mTransport.callbacks());
    mInstrument.initialize();
    mTransport.setPlaying(true);
}

std::uint64_t SongRenderer::run(const Sink& sink) {
    const std::int64_t last = mEndFrame + mTailFrames;
    const auto enough = framesOf(kSilentSeconds, mPlan.rate);
    std::int64_t silent = 0;
    while (mFrame < last) {
        const UInt32 frames = nextBlock(last);
        mTransport.moveTo(mFrame);
        sendMessagesBefore(mFrame + frames);
        mInstrument.pull(mFrame, frames);
        if (!sink(mInstrument, frames)) {
            break;
        }
        mFrame += frames;
        silent = isSilent(frames) ? silent + frames : 0;
        if (mPlan.tailUntilSilence && mFrame >= mEndFrame && silent >= enough) {
            break;
        }
    }
    return mSent;
}

UInt32 SongRenderer::nextBlock(std::int64_t last) const {
    std::int64_t end = std::min<std::int64_t>(mFrame + mPlan.block, last);
    const std::size_t beyond = mNext + kMostMessagesOfABlock;
    if (beyond < mMessageFrames.size()) {
        end = std::min(end, std::max(mMessageFrames[beyond], mFrame + 1));
    }
    return static_cast<UInt32>(end - mFrame);
}

void SongRenderer::sendMessagesBefore(std::int64_t end) {
    const std::size_t most = std::min(mNext + kMostMessagesOfABlock, mSong.messages.size());
    for (; mNext < most; ++mNext) {
        const SongMessage& message = mSong.messages[mNext];
        const std::int64_t at = mMessageFrames[mNext];
        if (at >= end) {
            return;
        }
        mInstrument.send(message.status, message.data1, message.data2,
                         static_cast<UInt32>(std::max<std::int64_t>(at - mFrame, 0)));
        ++mSent;
    }
}

bool SongRenderer::isSilent(UInt32 frames) const {
    for (UInt32 bus = 0; bus < mInstrument.pulledBuses(); ++bus) {
        for (const float* channel : mInstrument.bus(bus)) {
            for (UInt32 i = 0; i < frames; ++i) {
                if (std::fabs(channel[i]) >= kSilence) {
                    return false;
                }
            }
        }
    }
    return true;
}

} // namespace velnor::host
