#include "engines/soundfont/Chunk.h"

#include "engines/soundfont/ChunkFields.h"
#include "engines/soundfont/ParameterNumber.h"

#include <cstring>

namespace velnor::soundfont {

namespace {

constexpr uint8_t kMagic[4] = {'V', 'S', 'F', 'C'};
constexpr uint32_t kVersion = 1;
constexpr size_t kVersionOffset = 4;
constexpr size_t kSizeOffset = 8;
constexpr size_t kChecksumOffset = 12;
constexpr uint8_t kLastMode = 3;

void putWord(uint8_t* bytes, uint32_t value, size_t width) {
    for (size_t i = 0; i < width; ++i) {
        bytes[i] = static_cast<uint8_t>(value >> (8 * i));
    }
}

uint32_t getWord(const uint8_t* bytes, size_t width) {
    uint32_t value = 0;
    for (size_t i = 0; i < width; ++i) {
        value |= static_cast<uint32_t>(bytes[i]) << (8 * i);
    }
    return value;
}

int32_t signExtended(uint32_t value, size_t width) {
    const uint32_t sign = uint32_t{1} << (8 * width - 1);
    return static_cast<int32_t>((value ^ sign) - sign);
}

class Writer {
public:
    explicit Writer(uint8_t* bytes) : mBytes(bytes) {}

    template <class Field>
    void integer(const Field& field, size_t width, const Limits<int32_t>&) {
        putWord(mBytes, static_cast<uint32_t>(field), width);
        mBytes += width;
    }
    void real(const float& field, const Limits<float>&) {
        uint32_t bits;
        std::memcpy(&bits, &field, sizeof bits);
        putWord(mBytes, bits, sizeof bits);
        mBytes += sizeof bits;
    }

private:
    uint8_t* mBytes;
};

class Reader {
public:
    explicit Reader(const uint8_t* bytes) : mBytes(bytes) {}

    bool good() const { return mGood; }

    template <class Field>
    void integer(Field& field, size_t width, const Limits<int32_t>& limits) {
        const uint32_t bits = getWord(mBytes, width);
        // Of the two-byte fields, only those whose lower limit is negative have a sign.
        const int32_t value =
            limits.low < 0 ? signExtended(bits, width) : static_cast<int32_t>(bits);
        mBytes += width;
        mGood = mGood && limits.hold(value);
        field = static_cast<Field>(value);
    }
    void real(float& field, const Limits<float>& limits) {
        const uint32_t bits = getWord(mBytes, sizeof bits);
        mBytes += sizeof bits;
        std::memcpy(&field, &bits, sizeof bits);
        // -0 sounds like 0 and would make two chunks of one state.
        constexpr uint32_t kMinusZero = 0x80000000U;
        mGood = mGood && limits.hold(field) && bits != kMinusZero;
    }

private:
    const uint8_t* mBytes;
    bool mGood = true;
};

// Groups of channels follow one another without overlap, the first from the first channel on, and
// only their heads have a mode.
bool areModesGood(const EngineState& state) {
    if (state.channels[0].mode == kModeNone) {
        return false;
    }
    size_t free = 0;
    for (size_t channel = 0; channel < state.channels.size(); ++channel) {
        const ChannelState& head = state.channels[channel];
        if ((head.mode == kModeNone) != (head.modeCount == 0)) {
            return false;
        }
        if (head.mode == kModeNone) {
            continue;
        }
        if (head.mode > kLastMode || channel < free) {
            return false;
        }
        free = channel + head.modeCount;
    }
    return free <= state.channels.size();
}

bool areParameterNumbersGood(const EngineState& state) {
    for (const ChannelState& channel : state.channels) {
        if (!isReachableNrpn(channel)) {
            return false;
        }
    }
    return true;
}

bool isHeaderGood(const uint8_t* bytes, size_t size) {
    return size == kChunkSize && std::memcmp(bytes, kMagic, sizeof kMagic) == 0 &&
           getWord(bytes + kVersionOffset, 4) == kVersion &&
           getWord(bytes + kSizeOffset, 4) == kChunkSize &&
           getWord(bytes + kChecksumOffset, 4) ==
               chunkChecksum(bytes + kChunkHeaderSize, size - kChunkHeaderSize);
}

} // namespace

uint32_t chunkChecksum(const uint8_t* bytes, size_t size) {
    uint32_t crc = 0xFFFFFFFFU;
    for (size_t i = 0; i < size; ++i) {
        crc ^= bytes[i];
        for (int bit = 0; bit < 8; ++bit) {
            crc = (crc >> 1) ^ (0xEDB88320U & (0U - (crc & 1U)));
        }
    }
    return ~crc;
}

std::vector<uint8_t> encodeChunk(const EngineState& state) {
    std::vector<uint8_t> chunk(kChunkSize);
    std::memcpy(chunk.data(), kMagic, sizeof kMagic);
    putWord(chunk.data() + kVersionOffset, kVersion, 4);
    putWord(chunk.data() + kSizeOffset, kChunkSize, 4);
    Writer writer(chunk.data() + kChunkHeaderSize);
    visitState(writer, state);
    const uint32_t checksum =
        chunkChecksum(chunk.data() + kChunkHeaderSize, kChunkSize - kChunkHeaderSize);
    putWord(chunk.data() + kChecksumOffset, checksum, 4);
    return chunk;
}

bool decodeChunk(const uint8_t* bytes, size_t size, EngineState& state) {
    if (!isHeaderGood(bytes, size)) {
        return false;
    }
    EngineState decoded;
    Reader reader(bytes + kChunkHeaderSize);
    visitState(reader, decoded);
    if (!reader.good() || !areModesGood(decoded) || !areParameterNumbersGood(decoded)) {
        return false;
    }
    state = decoded;
    return true;
}

} // namespace velnor::soundfont
