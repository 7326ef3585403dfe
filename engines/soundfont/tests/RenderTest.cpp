#include "engines/soundfont/SoundFontProperties.h"
#include "engines/soundfont/tests/EngineUnderTest.h"

namespace velnor::soundfont {
namespace {

constexpr int kFrames = 60000;

TEST(Render, EqualsFluidSynthAloneSampleForSample) {
    const auto piece = busyPiece(kFrames - 1);
    for (const int rate : {8000, 44100, 48000, 96000}) {
        for (auto [offline, best] : Rows<bool, int>{{false, 0}, {true, 0}, {true, 1}}) {
            const Engine engine({2, 0, rate, offline});
            EXPECT_EQ(engine.property(kVendorPropertyQuality, best), 0);
            const Channels ours = engine.render(piece, kFrames);
            EXPECT_GT(peak(ours[0]), 0.05F);
            const int order = best == 1 ? FLUID_INTERP_7THORDER : FLUID_INTERP_4THORDER;
            EXPECT_TRUE(ours == renderAlone(piece, kFrames, rate, order)) << rate << offline;
        }
    }
}

TEST(Render, IsTheSameInEveryBlockSize) {
    const auto piece = busyPiece(kFrames - 1);
    for (const uint32_t channels : {2U, 8U}) {
        const Channels reference = Engine({channels}).render(piece, kFrames, 512);
        for (const int block : {1, 64, 137, 4096, kFrames}) {
            EXPECT_EQ(Engine({channels}).render(piece, kFrames, block), reference) << block;
        }
    }
}

TEST(Render, EventsOutsideTheBlockCountAtItsEdges) {
    const auto rendered = [](std::vector<int32_t> offsets) {
        const Engine engine;
        auto block = std::make_unique<MIDIEventBlock>();
        for (const int32_t offset : offsets) {
            MIDIEvent& event = block->events[block->count];
            event.data[0] = 0x90;
            event.data[1] = static_cast<uint8_t>(60 + block->count++);
            event.data[2] = 100;
            event.offset = offset;
        }
        Channels out(2, std::vector<float>(512));
        float* buffers[] = {out[0].data(), out[1].data()};
        EXPECT_EQ(call(engine.handle(), kOpProcess, block.get(), buffers, nullptr, 512), 0);
        const Channels rest = engine.render({}, 512);
        out.insert(out.end(), rest.begin(), rest.end());
        return out;
    };
    EXPECT_EQ(rendered({INT32_MIN, -1}), rendered({0, 0}));
    EXPECT_EQ(rendered({100, 513}), rendered({100, 512}));
    EXPECT_EQ(rendered({100, INT32_MAX}), rendered({100, 512}));
    EXPECT_EQ(rendered({256, 0}), rendered({256, 256}));
}

TEST(Render, MalformedMessagesAndOversizedCountsAreIgnored) {
    const Engine engine;
    const Channels idle = Engine().render({}, 1024);
    EXPECT_EQ(engine.render({{0, 0x10, 60, 100},
                             {0, 0x90, 128, 100},
                             {0, 0x90, 60, 200},
                             {0, 0xF0, 60, 100},
                             {0, 0xF8, 0, 0}},
                            1024),
              idle);
    auto block = std::make_unique<MIDIEventBlock>();
    block->count = UINT32_MAX;
    std::vector<float> left(64), right(64);
    float* buffers[] = {left.data(), right.data()};
    EXPECT_EQ(call(engine.handle(), kOpProcess, block.get(), buffers, nullptr, 64), 0);
    EXPECT_NE(call(engine.handle(), kOpProcess, nullptr, buffers, nullptr, 64), 0);
    EXPECT_NE(call(engine.handle(), kOpProcess, block.get(), nullptr, nullptr, 64), 0);
    EXPECT_NE(call(engine.handle(), kOpProcess, block.get(), buffers, nullptr, -1), 0);
}

TEST(Render, SpreadsMidiChannelsOverPairsWithTheirEffects) {
    for (const uint32_t channels : {4U, 8U, 32U}) {
        const uint32_t pairs = channels / 2;
        for (const uint8_t midi : {uint8_t{0}, uint8_t{3}, uint8_t{15}}) {
            const auto out =
                Engine({channels}).render({{0, static_cast<uint8_t>(0x90 | midi), 60, 127}}, 8192);
            for (uint32_t channel = 0; channel < channels; ++channel) {
                const bool sounds = channel / 2 == midi % pairs;
                EXPECT_EQ(peak(out[channel]) > 1e-3F, sounds) << channels << " " << channel;
                EXPECT_EQ(peak(out[channel]) > 1e-6F, sounds) << "no reverb on other pairs";
            }
        }
    }
}

TEST(Render, TheSumOfThePairsIsTheStereoMix) {
    const auto piece = busyPiece(kFrames - 1);
    const Channels stereo = Engine().render(piece, kFrames);
    const Channels pairs = Engine({8}).render(piece, kFrames);
    for (size_t i = 0; i < stereo[0].size(); ++i) {
        for (size_t side = 0; side < 2; ++side) {
            ASSERT_NEAR(pairs[side][i] + pairs[2 + side][i] + pairs[4 + side][i] +
                            pairs[6 + side][i],
                        stereo[side][i], 1e-5F);
        }
    }
}

TEST(Render, CompatSlotsPlayEverythingOnTheFirstChannel) {
    const std::vector<TimedEvent> bare = {{0, 0xC0, 40, 0}, {10, 0x90, 60, 100}, {20, 0xF0, 0, 0}};
    const std::vector<TimedEvent> numbered = {
        {0, 0xC3, 40, 0}, {10, 0x95, 60, 100}, {20, 0xFF, 0, 0}};
    const Channels expected = Engine().render(bare, 4096);
    EXPECT_EQ(Engine({2, 1}).render(bare, 4096), expected);
    EXPECT_EQ(Engine({2, 1}).render(numbered, 20), Engine().render(bare, 20));
    EXPECT_NE(Engine({2, 1}).render(numbered, 4096), expected); // the reset counts
}

TEST(Render, ASystemResetSilencesAndRestoresTheChannels) {
    const Engine engine;
    const auto fresh = engine.chunk();
    engine.render({{0, 0xC0, 40, 0},
                   {0, 0xB3, 7, 5},
                   {0, 0xA2, 60, 9},
                   {0, 0xD2, 50, 0},
                   {0, 0xB4, 99, 120},
                   {0, 0x90, 60, 127},
                   {4000, 0xFF, 0, 0}},
                  4096);
    EXPECT_EQ(engine.chunk(), fresh);
    int32_t voices = -1;
    engine.render({}, 128, 64); // a voice is counted until the block after its end
    EXPECT_EQ(engine.property(0x1001B, voices), 0);
    EXPECT_EQ(voices, 0);
}

TEST(Render, AControllerResetTakesKeyPressuresOutOfTheState) {
    const Engine pressed, plain;
    pressed.render({{0, 0xA2, 60, 9}, {0, 0xB2, 121, 0}}, 64);
    plain.render({{0, 0xB2, 121, 0}}, 64);
    EXPECT_EQ(pressed.chunk(), plain.chunk());
}

TEST(Render, ASystemResetKeepsTheQualityOfAnOfflineRender) {
    const std::vector<TimedEvent> reset = {{0, 0xFF, 0, 0}};
    const std::vector<TimedEvent> note = {{0, 0x90, 61, 100}};
    const auto after = [&](const std::vector<TimedEvent>& events) {
        const Engine engine({2, 0, 44100, true});
        engine.render(events, 64);
        return engine.render(note, 4096);
    };
    EXPECT_EQ(after(reset), after({}));
}

TEST(Render, InRealTimeNoFileIsReadOnceItRuns) {
    const Engine present, gone;
    std::filesystem::remove(gone.folder() + "/font.sf2");
    const auto piece = busyPiece(4000);
    EXPECT_EQ(gone.render(piece, 4096), present.render(piece, 4096));
}

TEST(Lifecycle, ARateThatComesWhileItRunsCountsAtOnce) {
    const std::vector<TimedEvent> note = {{0, 0x90, 60, 100}};
    const Engine engine;
    EXPECT_EQ(callWith(engine.handle(), kOpSetRateAndBlockSize, 22050), 0);
    EXPECT_EQ(engine.render(note, 4096), Engine({2, 0, 22050}).render(note, 4096));
}

TEST(Lifecycle, ResumeAfterSuspendSoundsLikeANewEngine) {
    const auto piece = busyPiece(kFrames - 1);
    const Channels fresh = Engine().render(piece, kFrames);
    const Engine engine;
    engine.render({{100, 0x90, 60, 127}, {110, 0x95, 64, 127}}, 12345, 100);
    EXPECT_EQ(call(engine.handle(), kOpSuspend), 0);
    for (const auto& channel : engine.render(piece, 4096)) {
        EXPECT_EQ(peak(channel), 0.0F);
    }
    EXPECT_EQ(call(engine.handle(), kOpResume), 0);
    EXPECT_EQ(engine.render(piece, kFrames), fresh);
}

TEST(Lifecycle, TheQualityOutlivesRestartsAndStatesAndIsInNone) {
    const auto piece = busyPiece(kFrames - 1);
    const auto usual = Engine().chunk();
    const Engine engine;
    int32_t quality = 1, refused = 2, answer = -1;
    EXPECT_EQ(engine.property(kVendorPropertyQuality, quality), 0);
    EXPECT_NE(engine.property(kVendorPropertyQuality, refused), 0);
    EXPECT_EQ(engine.property(kVendorPropertyQuality | uint32_t{kSoundFontGet}, answer), 0);
    EXPECT_EQ(answer, 1);
    EXPECT_EQ(engine.chunk(), usual);
    engine.render({{0, 0x90, 60, 100}, {50, 0xFF, 0, 0}}, 64);
    engine.restart();
    EXPECT_EQ(engine.setChunk(usual), 0);
    EXPECT_TRUE(engine.render(piece, kFrames) ==
                renderAlone(piece, kFrames, 44100, FLUID_INTERP_7THORDER));
}

TEST(Lifecycle, SuspendKeepsProgramsAndControllers) {
    const Engine engine;
    engine.render({{0, 0xC2, 19, 0}, {0, 0xB2, 7, 33}, {0, 0xE2, 1, 80}}, 64);
    const auto before = engine.chunk();
    engine.restart();
    EXPECT_EQ(engine.chunk(), before);
    const std::vector<TimedEvent> note = {{0, 0x92, 60, 100}};
    EXPECT_NE(engine.render(note, 4096), Engine().render(note, 4096));
}

TEST(Lifecycle, ALaterRateSoundsLikeAnEngineOpenedAtIt) {
    const auto piece = busyPiece(kFrames - 1);
    const Engine engine;
    engine.render(piece, kFrames);
    for (const int rate : {96000, 22050}) {
        call(engine.handle(), kOpSuspend);
        EXPECT_EQ(callWith(engine.handle(), kOpSetRateAndBlockSize, rate), 0);
        call(engine.handle(), kOpResume);
        const Engine fresh({2, 0, rate});
        const auto expected = fresh.render(piece, kFrames);
        engine.setChunk(Engine().chunk());
        EXPECT_EQ(engine.render(piece, kFrames), expected) << rate;
    }
}

TEST(Lifecycle, ARateThatCannotBeIsRefusedAndSilent) {
    const Engine engine;
    const std::vector<TimedEvent> note = {{0, 0x90, 60, 100}};
    for (const int rate : {0, -1, 7999, 96001}) {
        ::testing::internal::CaptureStderr();
        EXPECT_NE(callWith(engine.handle(), kOpSetRateAndBlockSize, rate), 0);
        EXPECT_THAT(::testing::internal::GetCapturedStderr(), HasSubstr(std::to_string(rate)));
        EXPECT_EQ(peak(engine.render(note, 512)[0]), 0.0F);
    }
    EXPECT_EQ(callWith(engine.handle(), kOpSetRateAndBlockSize, 44100), 0);
    EXPECT_GT(peak(engine.render(note, 4096)[0]), 0.001F);
}

TEST(Render, TheTailHasNeitherDenormalsNorNans) {
    const Engine engine;
    engine.render(busyPiece(20000), 20000);
    std::vector<TimedEvent> off;
    for (uint8_t channel = 0; channel < 16; ++channel) {
        off.push_back({0, static_cast<uint8_t>(0xB0 | channel), 121, 0});
        off.push_back({0, static_cast<uint8_t>(0xB0 | channel), 123, 0});
    }
    const auto tail = engine.render(off, 44100 * 10, 4096);
    for (const float sample : tail[0]) {
        ASSERT_TRUE(std::isnormal(sample) || sample == 0.0F);
    }
    EXPECT_LT(std::fabs(tail[0].back()), 1e-6F);
}

} // namespace
} // namespace velnor::soundfont
