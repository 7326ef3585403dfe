// Chunks from a hostile host: what decodes is encoded again as it was, and plays without a bad
// sample.
#include "engines/soundfont/Chunk.h"
#include "engines/soundfont/Player.h"
#include "fuzz/FuzzCheck.h"

#include <array>
#include <cmath>
#include <memory>

using namespace velnor::soundfont;

namespace {

constexpr char kFontFile[] = "/usr/share/sounds/sf2/TimGM6mb.sf2";
constexpr uint32_t kFrames = 512;

struct Rig {
    StateExchange exchange;
    Player player{std::make_unique<Synth>(kFontFile, 1), false, exchange};
    const std::vector<uint8_t> asOpened = encodeChunk(exchange.latest());
};

Rig& rig() {
    static Rig instance;
    return instance;
}

void seal(std::vector<uint8_t>& chunk) {
    const uint32_t checksum =
        chunkChecksum(chunk.data() + kChunkHeaderSize, chunk.size() - kChunkHeaderSize);
    for (size_t i = 0; i < 4; ++i) {
        chunk[kChunkHeaderSize - 4 + i] = static_cast<uint8_t>(checksum >> (8 * i));
    }
}

// The fuzzer cannot guess checksums. A chunk that it wrote itself gets the one that fits.
std::vector<uint8_t> sealed(const uint8_t* data, size_t size) {
    std::vector<uint8_t> chunk(data, data + size);
    seal(chunk);
    return chunk;
}

// A good chunk with single bytes changed (two bytes of offset, one of value): those of the header,
// checksum and all, after it is sealed.
std::vector<uint8_t> edited(const uint8_t* data, size_t size) {
    std::vector<uint8_t> chunk = rig().asOpened;
    const auto edit = [&](bool header) {
        for (size_t i = 0; i + 2 < size; i += 3) {
            const size_t offset = static_cast<size_t>(data[i] | data[i + 1] << 8) % kChunkSize;
            if ((offset < kChunkHeaderSize) == header) {
                chunk[offset] = data[i + 2];
            }
        }
    };
    edit(false);
    seal(chunk);
    edit(true);
    return chunk;
}

void playChord(Player& player) {
    static std::array<std::array<float, kFrames>, 2> samples;
    float* channels[] = {samples[0].data(), samples[1].data()};
    auto block = std::make_unique<MIDIEventBlock>();
    for (uint8_t channel = 0; channel < kMidiChannels; ++channel) {
        MIDIEvent& event = block->events[block->count++];
        event.data[0] = static_cast<uint8_t>(0x90 | channel);
        event.data[1] = static_cast<uint8_t>(40 + 3 * channel);
        event.data[2] = 100;
    }
    player.process(*block, channels, kFrames);
    for (const auto& channel : samples) {
        for (const float sample : channel) {
            FUZZ_CHECK(std::isfinite(sample));
        }
    }
}

void tryState(const EngineState& state) {
    rig().player.start(false);
    rig().exchange.post(state);
    playChord(rig().player);
    EngineState kept;
    FUZZ_CHECK(decodeChunk(encodeChunk(rig().exchange.latest()).data(), kChunkSize, kept));
}

void tryChunk(const uint8_t* bytes, size_t size) {
    EngineState state;
    if (!decodeChunk(bytes, size, state)) {
        FUZZ_CHECK(encodeChunk(state) == encodeChunk(EngineState{}));
        return;
    }
    const std::vector<uint8_t> again = encodeChunk(state);
    FUZZ_CHECK(std::equal(again.begin(), again.end(), bytes, bytes + size));
    tryState(state);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    tryChunk(data, size);
    const std::vector<uint8_t> chunk = size < kChunkSize ? edited(data, size) : sealed(data, size);
    tryChunk(chunk.data(), chunk.size());
    return 0;
}
