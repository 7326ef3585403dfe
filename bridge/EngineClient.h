// One instrument's connection to its engine: the bundle, the entry point and the engine instance.
#ifndef VELNOR_BRIDGE_ENGINECLIENT_H
#define VELNOR_BRIDGE_ENGINECLIENT_H

#include "bridge/EngineCall.h"
#include "bridge/OrmoEngine.h"
#include "bridge/SyncInfo.h"
#include "platform/CFBundle.h"
#include "platform/CFRef.h"
#include "platform/Facts.h"

#include <cstddef>
#include <string>

namespace velnor {

// Bound once, after which the entry point stands; the engine instance is opened later. Every call
// for the engine instance does nothing without one, but for vendorProperty and process. Thread
// main, exclusive and may block, but for process. The addresses that the engine gets at open are
// this object's own, so it stays where it was made.
class EngineClient {
public:
    enum class Binding { kBound, kNoBundle, kNoEntryPoint };

    EngineClient() = default;
    EngineClient(const EngineClient&) = delete;
    EngineClient& operator=(const EngineClient&) = delete;

    // Loads the engine bundle in this folder and finds its entry point. The code then stays in the
    // process for good.
    Binding bind(const std::string& enginePath);
    // What the loader said about a failed bind; empty when it said nothing.
    std::string loaderMessage() const;
    // Asks the version, logs it, and so learns whether status bytes go without channels. dataDir
    // has fewer than kOrmoDataDirSize bytes.
    void handshake(const std::string& dataDir);

    bool isBound() const VELNOR_NONBLOCKING { return mOpcodeProc != nullptr; }
    bool isConnected() const VELNOR_NONBLOCKING { return isBound() && mEngineHandle != 0; }
    bool compatSlots() const VELNOR_NONBLOCKING { return mCompatSlots; }
    OrmoOpcodeProc opcodeProc() const { return mOpcodeProc; }
    OrmoEngineHandle engineHandle() const { return mEngineHandle; }
    // Channels of each process call; 0 before the first open.
    std::uint32_t channelCount() const VELNOR_NONBLOCKING { return mOpenBlock.channelCount; }

    // Opens the engine instance; isConnected says whether the engine did. Only while bound and not
    // connected.
    void open(std::uint32_t channelCount);
    // rate in Hz, its fraction cut off.
    void setRateAndBlockSize(double rate, std::uint32_t maxFrames);
    void suspend();
    void resume(bool offline);
    // The engine's state, the engine's memory until the next call; false for none.
    bool getChunk(const void*& bytes, std::size_t& size);
    void setChunk(const void* bytes, std::size_t size);
    // The engine's answer, 0 for success. Only while connected.
    std::int32_t vendorProperty(std::uint32_t id, void* value);

    // Thread render; nonblocking but for what the engine does. Only while connected.
    void process(const MIDIEventBlock& events, float* const* channels, const SyncInfo& sync,
                 std::uint32_t frames) VELNOR_NONBLOCKING {
        const OrmoSyncInfo* record = &sync;
        callEngine(mOpcodeProc, mEngineHandle, kOpProcess, &events, channels, record, frames);
    }

    // Gives the bundle back, then closes the engine instance if there is one.
    void close();

private:
    CFRef<CFBundleRef> mEngineBundle;
    OrmoOpcodeProc mOpcodeProc = nullptr;
    OrmoEngineHandle mEngineHandle = 0;
    bool mCompatSlots = false;
    EngineOpenBlock mOpenBlock = {};
    char mDataDirText[kOrmoDataDirSize] = {};
};

} // namespace velnor

#endif
