#include "engines/probe/Probe.h"

#include "engines/probe/CallText.h"

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <stdexcept>

namespace velnor::probe {

namespace {

template <typename T>
T* at(OrmoWord word) {
    return reinterpret_cast<T*>(word);
}

std::string copyOf(const void* bytes, std::size_t size) {
    return std::string(static_cast<const char*>(bytes), size);
}

} // namespace

Probe::Probe() {
    if (const char* path = std::getenv("VELNOR_PROBE_LOG")) {
        mLogPath = path;
    }
    if (const char* version = std::getenv("VELNOR_PROBE_VERSION")) {
        behaviour.version = version;
    }
}

std::int32_t Probe::handle(const std::array<OrmoWord, 9>& words) {
    if (!recording.load(std::memory_order_relaxed)) {
        return answer(words);
    }
    Call call{words, bytesBehind(words), 0, std::this_thread::get_id()};
    call.result = answer(words);
    const std::lock_guard<std::mutex> guard(mLock);
    if (!mLogPath.empty()) {
        std::ofstream(mLogPath, std::ios::app) << textOf(call) << "\n";
    }
    mCalls.push_back(call);
    return call.result;
}

std::array<std::string, 3> Probe::bytesBehind(const std::array<OrmoWord, 9>& words) {
    const auto target = static_cast<std::uint32_t>(words[0]);
    switch (words[1]) {
    case kOpOpenInstance: {
        const auto* block = at<const EngineOpenBlock>(words[2]);
        return {copyOf(block, sizeof *block), block->dataDir};
    }
    case kOpProcess: {
        const auto* events = at<const MIDIEventBlock>(words[2]);
        return {copyOf(events, sizeof events->count + events->count * sizeof(MIDIEvent)),
                copyOf(at<const void>(words[3]), channelsOf(target) * sizeof(float*)),
                copyOf(at<const void>(words[4]), sizeof(OrmoSyncInfo))};
    }
    case kOpSetChunk:
        return {copyOf(at<const void>(words[2]), static_cast<std::size_t>(words[5]))};
    case kOpEditorCreate:
        return {at<const char>(words[2])};
    case kOpVendorProperty:
        return {copyOf(at<const void>(words[2]), 4)};
    default:
        return {};
    }
}

std::int32_t Probe::answer(const std::array<OrmoWord, 9>& words) {
    const auto target = static_cast<std::uint32_t>(words[0]);
    if (words[1] == behaviour.throwAt) {
        ++behaviour.thrown;
        throw std::runtime_error("the probe was told to throw");
    }
    switch (words[1]) {
    case kOpGetVersion:
        std::strncpy(at<char>(words[2]), behaviour.version.c_str(), kOrmoVersionTextSize);
        return 0;
    case kOpOpenInstance:
        return open(*at<const EngineOpenBlock>(words[2]), *at<OrmoEngineHandle>(words[3]));
    case kOpCloseInstance: {
        const std::lock_guard<std::mutex> guard(mLock);
        return mChannels.erase(target) == 1 ? 0 : -1;
    }
    case kOpProcess:
        return process(target, at<float*>(words[3]), static_cast<std::uint32_t>(words[5]));
    case kOpGetChunk:
        *at<const void*>(words[2]) = behaviour.chunk.data();
        *at<std::int32_t>(words[3]) =
            behaviour.chunkSize.value_or(static_cast<std::int32_t>(behaviour.chunk.size()));
        return behaviour.chunkResult;
    case kOpEditorCreate: {
        const std::lock_guard<std::mutex> guard(mLock);
        if (!behaviour.leaveEditorZero) {
            *at<OrmoEditorHandle>(words[3]) = mNextHandle;
            mEditors[mNextHandle++] = true;
        }
        return 0;
    }
    case kOpEditorDestroy: {
        const std::lock_guard<std::mutex> guard(mLock);
        return mEditors.erase(target) == 1 ? 0 : -1;
    }
    case kOpEditorOpen:
        return behaviour.editorOpenResult;
    case kOpEditorGetView:
        *at<void*>(words[2]) = behaviour.rootControl;
        return 0;
    case kOpVendorProperty:
        if (behaviour.answerVendor) {
            std::memcpy(at<void>(words[2]), &behaviour.vendorAnswer, 4);
        }
        return behaviour.vendorResult;
    default:
        return 0;
    }
}

std::int32_t Probe::open(const EngineOpenBlock& block, OrmoEngineHandle& handle) {
    if (behaviour.leaveHandleZero) {
        return -1;
    }
    const std::lock_guard<std::mutex> guard(mLock);
    mChannels[mNextHandle] = block.channelCount;
    mLastOpenedChannels.store(block.channelCount, std::memory_order_relaxed);
    handle = mNextHandle++;
    return 0;
}

std::int32_t Probe::process(OrmoEngineHandle engine, float* const* channels, std::uint32_t frames) {
    if (!behaviour.writePattern) {
        return 0;
    }
    const std::uint32_t count = recording.load(std::memory_order_relaxed)
                                    ? channelsOf(engine)
                                    : mLastOpenedChannels.load(std::memory_order_relaxed);
    for (std::uint32_t channel = 0; channel < count; ++channel) {
        for (std::uint32_t frame = 0; frame < frames; ++frame) {
            channels[channel][frame] = patternSample(channel, frame);
        }
    }
    return 0;
}

std::uint32_t Probe::channelsOf(OrmoEngineHandle engine) {
    const std::lock_guard<std::mutex> guard(mLock);
    const auto found = mChannels.find(engine);
    return found == mChannels.end() ? 0 : found->second;
}

} // namespace velnor::probe
