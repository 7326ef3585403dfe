#include "engines/soundfont/Instance.h"

#include "engines/soundfont/Chunk.h"
#include "engines/soundfont/EngineLog.h"
#include "engines/soundfont/FontFile.h"
#include "engines/soundfont/Limits.h"
#include "engines/soundfont/SoundFontProperties.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <utility>

namespace velnor::soundfont {

namespace {

std::string programName(const Synth::PresetNames& names, const ChannelState& channel) {
    const auto found = names.find({channel.bank, channel.program});
    return found == names.end() ? std::string() : found->second;
}

} // namespace

std::unique_ptr<Instance> Instance::open(const EngineOpenBlock& block) {
    if (block.channelCount < 2 || block.channelCount > kOrmoMaxChannels ||
        block.channelCount % 2 != 0) {
        throw std::runtime_error("cannot open with " + std::to_string(block.channelCount) +
                                 " channels: an even number from 2 to 32 is needed");
    }
    if (block.dataDir == nullptr || *block.dataDir == '\0') {
        throw std::runtime_error("no data directory was given");
    }
    const std::string font = chooseFontFile(block.dataDir);
    checkFontFile(font);
    auto synth = std::make_unique<Synth>(font, static_cast<int>(block.channelCount / 2));
    return std::make_unique<Instance>(std::move(synth), block.compatSlots == 1);
}

Instance::Instance(std::unique_ptr<Synth> synth, bool compatSlots)
    : mPlayer(std::move(synth), compatSlots, mExchange) {}

Result Instance::setRate(int32_t rate) {
    Gate::Pass pass(mGate);
    if (!mPlayer.setRate(rate)) {
        logError("sample rate " + std::to_string(rate) + " Hz is not between " +
                 std::to_string(kRateLimits.low) + " and " + std::to_string(kRateLimits.high) +
                 ": silent until it is");
        return kRefused;
    }
    return kDone;
}

Result Instance::suspend() {
    Gate::Pass pass(mGate);
    mPlayer.stop();
    mActiveVoices.store(0, std::memory_order_relaxed);
    return kDone;
}

Result Instance::resume(bool offline) {
    Gate::Pass pass(mGate);
    mPlayer.start(offline);
    return kDone;
}

Result Instance::process(const MIDIEventBlock& block, float* const* channels,
                         uint32_t frames) VELNOR_NONBLOCKING {
    Gate::TryPass pass(mGate);
    if (!pass) {
        for (int channel = 0; channel < 2 * mPlayer.synth().pairs(); ++channel) {
            std::fill_n(channels[channel], frames, 0.0F);
        }
        return kDone;
    }
    mPlayer.setQuality(mQuality.load(std::memory_order_relaxed) != 0);
    mPlayer.process(block, channels, frames);
    mActiveVoices.store(mPlayer.synth().activeVoices(), std::memory_order_relaxed);
    return kDone;
}

const std::vector<uint8_t>& Instance::chunk() {
    mChunk = encodeChunk(mExchange.latest());
    return mChunk;
}

Result Instance::setChunk(const uint8_t* bytes, size_t size) {
    EngineState state;
    if (!decodeChunk(bytes, size, state)) {
        return kRefused;
    }
    mExchange.post(state);
    return kDone;
}

Result Instance::property(uint32_t id, void* value) {
    if (id == kSoundFontActiveVoices + kSoundFontGet) {
        const int32_t voices = mActiveVoices.load(std::memory_order_relaxed);
        std::memcpy(value, &voices, sizeof voices);
        return kDone;
    }
    if ((id & ~uint32_t{kSoundFontGet}) == kVendorPropertyQuality) {
        return quality(id, value);
    }
    const size_t place = findProperty(id);
    if (place == kSettableProperties) {
        return kRefused;
    }
    if ((id & kSoundFontGet) != 0) {
        readProperty(mExchange.latest().globals, place, value);
        return kDone;
    }
    return mExchange.post(place, value) ? kDone : kRefused;
}

Result Instance::quality(uint32_t id, void* value) {
    int32_t quality = mQuality.load(std::memory_order_relaxed);
    if (id != kVendorPropertyQuality) {
        std::memcpy(value, &quality, sizeof quality);
        return kDone;
    }
    std::memcpy(&quality, value, sizeof quality);
    if (!kSwitchLimits.hold(quality)) {
        return kRefused;
    }
    mQuality.store(quality, std::memory_order_relaxed);
    return kDone;
}

InstanceStatus Instance::status() {
    const EngineState state = mExchange.latest();
    InstanceStatus status;
    status.activeVoices = mActiveVoices.load(std::memory_order_relaxed);
    std::transform(state.channels.begin(), state.channels.end(), status.programs.begin(),
                   [this](const ChannelState& channel) {
                       return programName(mPlayer.synth().presetNames(), channel);
                   });
    return status;
}

} // namespace velnor::soundfont
