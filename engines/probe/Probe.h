// The probe: an engine that makes no music but writes down every call and misbehaves on request.
//
// Tests in the same process reach it through the exported velnorProbe:
//
//     Probe& probe = *reinterpret_cast<Probe* (*)()>(dlsym(handle, "velnorProbe"))();
//
// In another process it follows the environment, read once when the engine is loaded:
//     VELNOR_PROBE_LOG      a file; each call is appended as one line (CallText.h)
//     VELNOR_PROBE_VERSION  the version text
#ifndef VELNOR_ENGINES_PROBE_PROBE_H
#define VELNOR_ENGINES_PROBE_PROBE_H

#include "bridge/OrmoEngine.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace velnor::probe {

// One call as it came. Bytes are copies of what the addresses led to at that time:
//   kOpOpenInstance    0 the open block          1 the data directory's text
//   kOpProcess         0 count and events        1 the channel pointers    2 the transport
//   kOpSetChunk        0 the chunk
//   kOpEditorCreate    0 the setup path's text
//   kOpVendorProperty  0 the value, before an answer is written
struct Call {
    std::array<OrmoWord, 9> words;
    std::array<std::string, 3> bytes;
    std::int32_t result;
    std::thread::id thread;

    OrmoOpcode opcode() const { return static_cast<OrmoOpcode>(words[1]); }
};

// What the probe is told. Not to be changed while a call runs.
struct Behaviour {
    std::string version = "1026";
    bool leaveHandleZero = false;
    bool leaveEditorZero = false;
    std::int32_t editorOpenResult = 0;
    void* rootControl = nullptr; // what kOpEditorGetView delivers
    std::int32_t chunkResult = 0;
    std::string chunk = "probe chunk";
    std::optional<std::int32_t> chunkSize; // what it says, whatever there is
    std::int32_t vendorResult = 0;
    bool answerVendor = false; // write vendorAnswer over the value
    std::uint32_t vendorAnswer = 0;
    int throwAt = -1;         // the opcode whose calls throw, as no engine should
    int thrown = 0;           // how often
    bool writePattern = true; // else kOpProcess leaves the buffers alone
};

// What kOpProcess writes.
inline float patternSample(std::uint32_t channel, std::uint32_t frame) {
    return static_cast<float>(channel + 1) + static_cast<float>(frame) / 4096.0F;
}

class Probe {
public:
    Behaviour behaviour;
    // Off: no call is written down, no lock is taken, and a process call costs its pattern.
    std::atomic<bool> recording{true};

    Probe();

    std::int32_t handle(const std::array<OrmoWord, 9>& words);

    // Inline: a test that includes this header links nothing of the bundle. Thread any,
    // concurrent.

    // Calls so far, oldest first.
    std::vector<Call> calls() {
        const std::lock_guard<std::mutex> guard(mLock);
        return mCalls;
    }
    void clear() {
        const std::lock_guard<std::mutex> guard(mLock);
        mCalls.clear();
    }
    // Instances and editors that are open now.
    std::size_t openInstances() {
        const std::lock_guard<std::mutex> guard(mLock);
        return mChannels.size();
    }
    std::size_t openEditors() {
        const std::lock_guard<std::mutex> guard(mLock);
        return mEditors.size();
    }

private:
    std::int32_t answer(const std::array<OrmoWord, 9>& words);
    std::int32_t open(const EngineOpenBlock& block, OrmoEngineHandle& handle);
    std::int32_t process(OrmoEngineHandle engine, float* const* channels, std::uint32_t frames);
    std::array<std::string, 3> bytesBehind(const std::array<OrmoWord, 9>& words);
    std::uint32_t channelsOf(OrmoEngineHandle engine);

    std::mutex mLock; // guards all below
    std::vector<Call> mCalls;
    std::map<OrmoEngineHandle, std::uint32_t> mChannels;
    std::map<OrmoEditorHandle, bool> mEditors;
    std::uint32_t mNextHandle = 1;
    std::atomic<std::uint32_t> mLastOpenedChannels{
        0}; // of the engine opened last, read without lock
    std::string mLogPath;
};

} // namespace velnor::probe

#endif
