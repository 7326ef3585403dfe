#include "engines/soundfont/tests/EngineUnderTest.h"

#include "engines/soundfont/tests/TinyFont.h"

#include <dlfcn.h>
#include <random>

#if defined(__SANITIZE_THREAD__)
// FluidSynth loads samples in OpenMP tasks, whose runtime the sanitizer cannot see into.
extern "C" __attribute__((visibility("default"))) const char* __tsan_default_suppressions() {
    return "race:libgomp.so.1\n";
}
#endif

namespace velnor::soundfont {

namespace {

OrmoOpcodeProc loadEntry() {
    void* engine = ::dlopen(SOUNDFONT_ENGINE_FILE, RTLD_NOW | RTLD_LOCAL);
    if (engine == nullptr) {
        throw std::runtime_error(::dlerror());
    }
    return reinterpret_cast<OrmoOpcodeProc>(::dlsym(engine, ORMO_ENTRY_NAME));
}

OrmoWord word(const void* address) {
    return reinterpret_cast<OrmoWord>(address);
}

} // namespace

int32_t call(uint32_t target, uint32_t opcode, const void* ptr1, const void* ptr2, const void* ptr3,
             OrmoWord val1, OrmoWord val2) {
    static const OrmoOpcodeProc entry = loadEntry();
    return entry(static_cast<OrmoWord>(target), static_cast<OrmoWord>(opcode), word(ptr1),
                 word(ptr2), word(ptr3), val1, val2, 0, 0);
}

Engine::Engine(const Setup& setup) {
    if (setup.tinyFont) {
        WriteFile(mFolder / "font.sf2", tinyFont());
    } else {
        std::filesystem::create_symlink(kFontFile, mFolder / "font.sf2");
    }
    mBlock.channelCount = setup.channels;
    mBlock.compatSlots = setup.compatSlots;
    mBlock.dataDir = mFolder.Path().c_str();
    EXPECT_EQ(call(0, kOpOpenInstance, &mBlock, &mHandle), 0);
    EXPECT_NE(mHandle, 0U);
    call(mHandle, kOpSetRateAndBlockSize, nullptr, nullptr, nullptr, setup.rate, 4096);
    callWith(mHandle, kOpResume, setup.offline ? 1 : 0);
}

void Engine::restart(bool offline) const {
    EXPECT_EQ(call(mHandle, kOpSuspend), 0);
    EXPECT_EQ(callWith(mHandle, kOpResume, offline ? 1 : 0), 0);
}

Channels Engine::render(const std::vector<TimedEvent>& events, int frames, int block) const {
    Channels out(mBlock.channelCount,
                 std::vector<float>(static_cast<size_t>(frames), std::nanf("")));
    const auto slots = std::make_unique<MIDIEventBlock>();
    auto next = events.begin();
    for (int start = 0; start < frames; start += block) {
        const int count = std::min(block, frames - start);
        std::vector<float*> buffers;
        for (auto& channel : out) {
            buffers.push_back(channel.data() + start);
        }
        slots->count = 0;
        for (; next != events.end() && next->frame < start + count; ++next) {
            MIDIEvent& event = slots->events[slots->count++];
            event = MIDIEvent{};
            event.data[0] = next->status;
            event.data[1] = next->data1;
            event.data[2] = next->data2;
            event.offset = static_cast<int32_t>(next->frame - start);
        }
        EXPECT_EQ(call(mHandle, kOpProcess, slots.get(), buffers.data(), nullptr, count), 0);
    }
    return out;
}

std::vector<uint8_t> Engine::chunk() const {
    const uint8_t* bytes = nullptr;
    int32_t size = 0;
    EXPECT_EQ(call(mHandle, kOpGetChunk, &bytes, &size), 0);
    return std::vector<uint8_t>(bytes, bytes + size);
}

std::vector<TimedEvent> busyPiece(int64_t frames) {
    std::mt19937 random(7);
    const auto below = [&](unsigned limit) { return static_cast<uint8_t>(random() % limit); };
    std::vector<TimedEvent> piece;
    uint8_t channel = 0;
    const auto add = [&](int64_t frame, int kind, int data1, int data2) {
        piece.push_back({frame, static_cast<uint8_t>(kind | channel), static_cast<uint8_t>(data1),
                         static_cast<uint8_t>(data2)});
    };
    for (; channel < 16; ++channel) {
        add(0, 0xC0, below(128), 0);
        add(0, 0xB0, 10, below(128));
        add(0, 0xB0, 91, below(128));
        add(0, 0xB0, 93, below(128));
    }
    for (int64_t frame = 0; frame < frames; frame += below(200)) {
        channel = below(16);
        add(frame, 0x90, 30 + below(60), below(128));
        const int kind = below(8);
        if (kind == 0) {
            add(frame, 0xE0, below(128), below(128));
        } else if (kind == 1) {
            add(frame, 0xB0, 1 + below(11), below(128));
        } else if (kind == 2) {
            add(frame, 0xD0, below(128), 0);
        } else if (kind == 3) {
            add(frame, 0xB0, 123, 0);
        }
    }
    return piece;
}

float peak(const std::vector<float>& samples) {
    float result = 0;
    for (const float sample : samples) {
        result = std::max(result, std::isfinite(sample) ? std::fabs(sample) : INFINITY);
    }
    return result;
}

} // namespace velnor::soundfont
