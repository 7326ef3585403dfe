// The built engine, loaded as the plug-in loads it and driven through its one function.
#ifndef VELNOR_ENGINES_SOUNDFONT_TESTS_ENGINEUNDERTEST_H
#define VELNOR_ENGINES_SOUNDFONT_TESTS_ENGINEUNDERTEST_H

#include "bridge/OrmoEngine.h"
#include "testing/FluidSynthAlone.h"
#include "testing/Testing.h"

#include <cmath>
#include <cstring>
#include <memory>

namespace velnor::soundfont {

using namespace testing;

int32_t call(uint32_t target, uint32_t opcode, const void* ptr1 = nullptr,
             const void* ptr2 = nullptr, const void* ptr3 = nullptr, OrmoWord val1 = 0,
             OrmoWord val2 = 0);
// An operation whose first value alone counts.
inline int32_t callWith(uint32_t target, uint32_t opcode, OrmoWord val1) {
    return call(target, opcode, nullptr, nullptr, nullptr, val1);
}

struct Setup {
    uint32_t channels = 2;
    uint32_t compatSlots = 0;
    int rate = 44100;
    bool offline = false;
    bool tinyFont = false;
};

// An open engine with the test SoundFont, running.
class Engine {
public:
    explicit Engine(const Setup& setup = {});
    ~Engine() { call(mHandle, kOpCloseInstance); }
    Engine(const Engine&) = delete;
    Engine& operator=(const Engine&) = delete;

    uint32_t handle() const { return mHandle; }
    const std::string& folder() const { return mFolder.Path(); }
    // From the engine's present position on; events count from there.
    Channels render(const std::vector<TimedEvent>& events, int frames, int block = 512) const;
    std::vector<uint8_t> chunk() const;
    int32_t setChunk(const std::vector<uint8_t>& bytes) const {
        return call(mHandle, kOpSetChunk, bytes.data(), nullptr, nullptr,
                    static_cast<OrmoWord>(bytes.size()));
    }
    template <class Value>
    int32_t property(uint32_t id, Value& value) const {
        static_assert(sizeof value == 4);
        return call(mHandle, kOpVendorProperty, &value, nullptr, nullptr, id);
    }
    void restart(bool offline = false) const;

private:
    TempFolder mFolder;
    EngineOpenBlock mBlock{};
    uint32_t mHandle = 0;
};

// A dense piece on all 16 channels: notes, programs, controllers, bends and pressures from a fixed
// seed, at any frame.
std::vector<TimedEvent> busyPiece(int64_t frames);

float peak(const std::vector<float>& samples);

} // namespace velnor::soundfont

#endif
