#include "engines/soundfont/SoundFontProperties.h"
#include "engines/soundfont/tests/EngineUnderTest.h"

#include <bit>
#include <limits>

namespace velnor::soundfont {
namespace {

constexpr uint8_t kCc = 0xB0;

// Messages that sound different, or set something different, by what came before them.
std::vector<TimedEvent> probe() {
    std::vector<TimedEvent> events = {{0, kCc, 6, 80}, {0, kCc, 98, 3}, {0, kCc, 6, 66}};
    for (uint8_t channel = 0; channel < 16; ++channel) {
        const auto status = static_cast<uint8_t>(0x90 | channel);
        events.push_back({0, status, 60, 100});
        events.push_back({3000, status, 64, 100});
    }
    return events;
}

TEST(Chunk, RestoresEverythingThatIsHeard) {
    for (const auto& [name, messages] : Rows<const char*, std::vector<TimedEvent>>{
             {"as opened", {}},
             {"programs and banks",
              {{0, 0xC0, 40, 0}, {0, kCc, 0, 3}, {0, 0xC9, 0, 0}, {0, 0xC5, 127, 0}}},
             {"missing preset", {{0, kCc, 0, 77}, {0, 0xC0, 99, 0}}},
             {"controllers",
              {{0, kCc, 1, 99}, {0, kCc, 7, 50}, {0, kCc, 10, 0}, {0, kCc, 91, 127}}},
             {"sustain and portamento", {{0, kCc, 64, 127}, {0, kCc, 65, 127}, {0, kCc, 5, 60}}},
             {"portamento key", {{0, kCc, 84, 72}}},
             {"bend", {{0, 0xE0, 17, 100}, {0, 0xE1, 0, 0}}},
             {"bend range",
              {{0, kCc, 101, 0},
               {0, kCc, 100, 0},
               {0, kCc, 6, 24},
               {0, kCc, 101, 127},
               {0, kCc, 100, 127},
               {0, 0xE0, 0, 127}}},
             {"widest bend range",
              {{0, kCc, 101, 0}, {0, kCc, 100, 0}, {0, kCc, 6, 127}, {0, 0xE0, 0, 90}}},
             {"tuning",
              {{0, kCc, 101, 0},
               {0, kCc, 100, 1},
               {0, kCc, 38, 5},
               {0, kCc, 6, 90},
               {0, kCc, 100, 2},
               {0, kCc, 6, 70}}},
             {"parameter chosen", {{0, kCc, 101, 0}, {0, kCc, 100, 2}}},
             {"parameter left",
              {{0, kCc, 101, 0}, {0, kCc, 100, 2}, {0, kCc, 99, 1}, {0, kCc, 98, 8}}},
             {"generator set",
              {{0, kCc, 99, 120}, {0, kCc, 98, 8}, {0, kCc, 38, 0}, {0, kCc, 6, 60}}},
             {"generator set, its last number another that would move a sample",
              {{0, kCc, 99, 120},
               {0, kCc, 98, 49},
               {0, kCc, 98, 2},
               {0, kCc, 38, 0},
               {0, kCc, 6, 60}}},
             {"generator that would move a sample",
              {{0, kCc, 99, 120}, {0, kCc, 98, 2}, {0, kCc, 6, 127}, {0, kCc, 98, 51}}},
             {"number whose absence would move a sample", {{0, kCc, 99, 120}, {0, kCc, 6, 127}}},
             {"generator chosen", {{0, kCc, 99, 120}, {0, kCc, 98, 51}}},
             {"generator chosen in two steps",
              {{0, kCc, 99, 120}, {0, kCc, 98, 30}, {0, kCc, 98, 21}}},
             {"generator chosen, number past it",
              {{0, kCc, 99, 120}, {0, kCc, 98, 51}, {0, kCc, 98, 110}}},
             {"no generator chosen", {{0, kCc, 99, 120}, {0, kCc, 98, 101}, {0, kCc, 98, 51}}},
             {"generator chosen, then left by one byte",
              {{0, kCc, 99, 120}, {0, kCc, 98, 51}, {0, kCc, 100, 0}}},
             {"generator chosen, then left",
              {{0, kCc, 99, 120}, {0, kCc, 98, 51}, {0, kCc, 101, 0}, {0, kCc, 100, 2}}},
             {"pressures", {{0, 0xD0, 100, 0}, {0, 0xA0, 60, 90}, {0, 0xA1, 60, 1}}},
             {"pressures reset", {{0, 0xD0, 100, 0}, {0, 0xA0, 60, 90}, {0, kCc, 121, 0}}},
             {"mono mode", {{0, kCc, 126, 4}}},
             {"mode of every channel", {{0, kCc, 126, 0}}}}) {
        SCOPED_TRACE(name);
        const Engine saved;
        saved.render(messages, 64);
        const auto chunk = saved.chunk();
        const Engine restored, goesOn;
        EXPECT_EQ(goesOn.setChunk(chunk), 0);
        EXPECT_EQ(restored.setChunk(chunk), 0);
        EXPECT_EQ(restored.chunk(), chunk) << "before rendering";
        restored.render({}, 64);
        EXPECT_EQ(restored.chunk(), chunk) << "after rendering";
        // A restart goes through the same restoring code, so one engine is compared that had the
        // messages and nothing else.
        if (!messages.empty() && messages[0].data1 != 126) {
            const Engine played;
            played.render(messages, 64);
            goesOn.render({}, 64);
            EXPECT_EQ(goesOn.render(probe(), 6000), played.render(probe(), 6000));
        }
        saved.restart();
        restored.restart();
        EXPECT_EQ(restored.chunk(), chunk) << "after a restart";
        EXPECT_EQ(restored.render(probe(), 6000), saved.render(probe(), 6000));
        EXPECT_EQ(restored.chunk(), saved.chunk()) << "after more messages";
    }
}

uint32_t checksum(const uint8_t* bytes, size_t size) {
    uint32_t crc = ~0U;
    for (size_t i = 0; i < 8 * size; ++i) {
        const uint32_t bit = (crc ^ static_cast<uint32_t>(bytes[i / 8] >> (i % 8))) & 1U;
        crc = (crc >> 1) ^ (bit != 0 ? 0xEDB88320U : 0U);
    }
    return ~crc;
}

std::vector<uint8_t> withByte(std::vector<uint8_t> chunk, size_t offset, uint8_t value) {
    chunk[offset] = value;
    const uint32_t crc = checksum(chunk.data() + 16, chunk.size() - 16);
    for (size_t i = 0; i < 4; ++i) {
        chunk[12 + i] = static_cast<uint8_t>(crc >> (8 * i));
    }
    return chunk;
}

TEST(Chunk, ADamagedOneChangesNothing) {
    const Engine engine;
    engine.render({{0, 0xC0, 40, 0}, {0, kCc, 7, 50}}, 64);
    const auto before = engine.chunk();
    const Engine source;
    const auto good = source.chunk();
    ASSERT_EQ(good.size(), 8246U);
    ASSERT_EQ(withByte(good, 16, good[16]), good) << "the test knows the checksum";
    for (size_t size = 0; size < good.size(); size += 97) {
        EXPECT_NE(engine.setChunk({good.begin(), good.begin() + static_cast<long>(size)}), 0);
    }
    auto longer = good;
    longer.push_back(0);
    EXPECT_NE(engine.setChunk(withByte(longer, 16, longer[16])), 0) << "rightly sealed";
    for (size_t offset = 0; offset < good.size(); ++offset) {
        auto damaged = good;
        damaged[offset] ^= static_cast<uint8_t>(1U << offset % 8);
        EXPECT_NE(engine.setChunk(damaged), 0) << offset;
    }
    EXPECT_NE(call(engine.handle(), kOpSetChunk, nullptr, nullptr, nullptr, 8246), 0);
    EXPECT_NE(call(engine.handle(), kOpSetChunk, good.data(), nullptr, nullptr, -1), 0);
    EXPECT_EQ(engine.chunk(), before);
    engine.render({}, 64);
    EXPECT_EQ(engine.chunk(), before);
}

TEST(Chunk, ValuesThatCannotBeAreRefusedInARightlySealedOne) {
    const Engine engine;
    const auto good = engine.chunk();
    for (const auto& [name, offset, value] :
         Rows<const char*, size_t, uint8_t>{{"version", 4, 2},
                                            {"size", 8, 1},
                                            {"gain is huge", 19, 0x7F},
                                            {"gain is negative", 19, 128},
                                            {"damping is -0", 30, 128},
                                            {"polyphony", 21, 9},
                                            {"reverb on", 22, 2},
                                            {"wave", 53, 2},
                                            {"bank", 54 + 1, 0x40},
                                            {"bank negative", 54 + 1, 0x80},
                                            {"program", 54 + 2, 128},
                                            {"program -2", 54 + 3, 0xFE},
                                            {"controller 7", 54 + 4 + 7, 128},
                                            {"bend", 54 + 125, 64},
                                            {"bend range", 54 + 126, 128},
                                            {"key pressure", 54 + 200, 255},
                                            {"nrpn active", 54 + 256, 2},
                                            {"nrpn select", 54 + 257, 64},
                                            {"nrpn select unreachable", 54 + 257, 5},
                                            {"mode", 54 + 258, 4},
                                            {"first channel without mode", 54 + 258, 255},
                                            {"mode without channels", 54 + 259, 0},
                                            {"too many channels", 54 + 259, 17},
                                            {"groups overlap", 54 + 512 + 258, 0},
                                            {"generator is NaN", 54 + 260 + 3, 0xFF}}) {
        EXPECT_NE(engine.setChunk(withByte(good, offset, value)), 0) << name;
    }
    EXPECT_EQ(engine.chunk(), good);
    EXPECT_EQ(engine.setChunk(withByte(good, 54 + 4 + 7, 11)), 0);
    EXPECT_NE(engine.chunk(), good);
    const Engine replaced, violin;
    EXPECT_EQ(replaced.setChunk(withByte(withByte(good, 54, 77), 54 + 2, 40)), 0);
    replaced.render({}, 64);
    violin.render({{0, 0xC0, 40, 0}}, 64);
    const std::vector<TimedEvent> note = {{0, 0x90, 60, 100}};
    EXPECT_EQ(replaced.render(note, 4096), violin.render(note, 4096)) << "bank 77 is empty";
}

struct PropertyCase {
    uint32_t id;
    size_t offset; // in the chunk
    int32_t low, high, start, value;
};

const std::vector<PropertyCase>& propertyCases() {
    const auto bits = [](float value) { return std::bit_cast<int32_t>(value); };
    static const std::vector<PropertyCase> cases = {
        {kSoundFontGain, 16, 0, bits(10), bits(0.2F), bits(0.5F)},
        {kSoundFontPolyphony, 20, 1, 256, 256, 2},
        {kSoundFontReverbOn, 22, 0, 1, 1, 0},
        {kSoundFontReverbRoomSize, 23, 0, bits(1), bits(0.2F), bits(0.9F)},
        {kSoundFontReverbDamping, 27, 0, bits(1), 0, bits(0.7F)},
        {kSoundFontReverbWidth, 31, 0, bits(100), bits(0.5F), bits(30)},
        {kSoundFontReverbLevel, 35, 0, bits(1), bits(0.9F), bits(0.3F)},
        {kSoundFontChorusOn, 39, 0, 1, 1, 0},
        {kSoundFontChorusVoices, 40, 0, 99, 3, 9},
        {kSoundFontChorusLevel, 41, 0, bits(10), bits(2), bits(5)},
        {kSoundFontChorusSpeed, 45, bits(0.1F), bits(5), bits(0.3F), bits(2)},
        {kSoundFontChorusDepth, 49, 0, bits(256), bits(8), bits(20)},
        {kSoundFontChorusWave, 53, 0, 1, 0, 1}};
    return cases;
}

// On the second pair of four channels.
Channels chordOf(const Engine& engine) {
    std::vector<TimedEvent> chord = {{0, kCc | 1, 93, 127}, {0, kCc | 1, 91, 127}};
    for (const uint8_t key : std::initializer_list<uint8_t>{60, 64, 67, 71}) {
        chord.push_back({100, 0x91, key, 100});
    }
    return engine.render(chord, 20000);
}

TEST(Properties, AreReadBackSavedInTheirPlaceAndHeardOnEveryPair) {
    const auto plain = chordOf(Engine({4}));
    const auto plainChunk = Engine().chunk();
    for (auto [id, offset, low, high, start, value] : propertyCases()) {
        SCOPED_TRACE(id);
        const Engine engine({4}), restored({4});
        int32_t read = -1;
        EXPECT_EQ(engine.property(id + kSoundFontGet, read), 0);
        EXPECT_EQ(read, start);
        for (int32_t limit : {low, high, value}) {
            EXPECT_EQ(engine.property(id, limit), 0) << limit;
        }
        for (int32_t beyond : {high + 1, low == 0 ? -1 : low - 1}) {
            EXPECT_NE(engine.property(id, beyond), 0) << beyond;
        }
        EXPECT_EQ(engine.property(id + kSoundFontGet, read), 0);
        EXPECT_EQ(read, value);
        auto expected = plainChunk;
        const size_t width = id == kSoundFontPolyphony ? 2 : high > 1000 ? 4 : 1;
        for (size_t i = 0; i < width; ++i) {
            expected[offset + i] = static_cast<uint8_t>(value >> (8 * i));
        }
        EXPECT_EQ(engine.chunk(), withByte(expected, offset, expected[offset]));
        const auto heard = chordOf(engine);
        EXPECT_NE(heard[2], plain[2]);
        EXPECT_LT(peak(heard[2]), 2.0F);
        restored.setChunk(engine.chunk());
        EXPECT_EQ(restored.chunk(), engine.chunk());
        restored.restart(); // with the change still under way, and again with none
        restored.restart();
        EXPECT_EQ(chordOf(restored), heard);
    }
}

TEST(Properties, AllThatAreSetBeforeABlockCountAndCanBeSetBack) {
    const Engine engine;
    for (auto [id, offset, low, high, start, value] : propertyCases()) {
        EXPECT_EQ(engine.property(id, value), 0);
    }
    engine.render({}, 64);
    for (auto [id, offset, low, high, start, value] : propertyCases()) {
        int32_t read = -1;
        engine.property(id + kSoundFontGet, read);
        EXPECT_EQ(read, value) << id;
    }
    const Engine louder, plain;
    float gain = 1;
    louder.property(kSoundFontGain, gain);
    louder.render({}, 64);
    gain = 0.2F;
    louder.property(kSoundFontGain, gain);
    plain.render({}, 64);
    EXPECT_EQ(louder.render({{0, 0x90, 60, 100}}, 4096), plain.render({{0, 0x90, 60, 100}}, 4096));
}

TEST(Messages, ThatWouldHarmASampleOrTuneAChannelLeaveNoTrace) {
    const std::vector<TimedEvent> notes = {{0, 0x90, 60, 100}, {500, 0x90, 72, 100}};
    const auto afterwards = [&](std::vector<TimedEvent> messages) {
        const Engine engine;
        messages.push_back({0, kCc, 121, 0}); // what they chose is forgotten
        engine.render(messages, 64);
        return engine.render(notes, 4096);
    };
    const auto plain = afterwards({});
    for (const uint8_t generator : std::initializer_list<uint8_t>{0, 1, 2, 3, 4, 12, 45, 50}) {
        EXPECT_EQ(afterwards({{0, kCc, 99, 120}, {0, kCc, 98, generator}, {0, kCc, 6, 100}}), plain)
            << int{generator};
    }
    for (const uint8_t parameter : std::initializer_list<uint8_t>{3, 4}) {
        EXPECT_EQ(afterwards({{0, kCc, 101, 0}, {0, kCc, 100, parameter}, {0, kCc, 6, 1}}), plain);
    }
}

TEST(Properties, UnknownIdsAndValuesOutOfRangeChangeNothing) {
    const Engine engine;
    const auto before = engine.chunk();
    for (const uint32_t id : {0x10000U - 1, 0x1001AU, 0x1001CU, 0x1001DU, 0x20000U, ~0U}) {
        int32_t value = 1;
        EXPECT_NE(engine.property(id, value), 0) << id;
        EXPECT_EQ(value, 1);
    }
    for (float gain : {-0.1F, 10.1F, INFINITY, std::numeric_limits<float>::quiet_NaN()}) {
        EXPECT_NE(engine.property(kSoundFontGain, gain), 0) << gain;
    }
    for (int32_t voices : {0, -1, 257}) {
        EXPECT_NE(engine.property(kSoundFontPolyphony, voices), 0) << voices;
    }
    EXPECT_NE(call(engine.handle(), kOpVendorProperty, nullptr, nullptr, nullptr, 0x10000), 0);
    engine.render({}, 64);
    EXPECT_EQ(engine.chunk(), before);
}

TEST(Properties, ManySetsBeforeTheFirstBlockAllCount) {
    const Engine engine;
    float gain = 0;
    for (int i = 0; i < 1000; ++i) {
        gain = static_cast<float>(i) / 1000.0F;
        EXPECT_EQ(engine.property(kSoundFontGain, gain), 0);
    }
    const auto chunk = Engine().chunk();
    engine.setChunk(chunk); // a whole state takes the place of what was set before it,
    int32_t off = 0;
    engine.property(kSoundFontReverbOn, off); // and later sets go on top of it
    engine.render({}, 64);
    EXPECT_EQ(engine.property(kSoundFontGain + kSoundFontGet, gain), 0);
    EXPECT_EQ(gain, 0.2F);
    int32_t reverb = 1;
    engine.property(kSoundFontReverbOn + kSoundFontGet, reverb);
    EXPECT_EQ(reverb, 0);
}

TEST(Properties, ActiveVoicesFollowTheNotes) {
    const Engine engine;
    int32_t voices = -1;
    EXPECT_EQ(engine.property(kSoundFontActiveVoices + kSoundFontGet, voices), 0);
    EXPECT_EQ(voices, 0);
    engine.render({{0, 0x90, 60, 100}, {0, 0x90, 64, 100}}, 256);
    engine.property(kSoundFontActiveVoices + kSoundFontGet, voices);
    EXPECT_GE(voices, 2);
    call(engine.handle(), kOpSuspend);
    engine.property(kSoundFontActiveVoices + kSoundFontGet, voices);
    EXPECT_EQ(voices, 0);
}

} // namespace
} // namespace velnor::soundfont
