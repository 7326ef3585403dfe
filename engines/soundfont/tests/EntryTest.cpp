#include "engines/soundfont/SoundFontProperties.h"
#include "engines/soundfont/tests/EngineUnderTest.h"
#include "testing/HostWindow.h"

#include <atomic>
#include <optional>

namespace velnor::soundfont {
namespace {

void linkFont(const std::string& path) {
    std::filesystem::create_symlink(kFontFile, path);
}

// What an engine says when it refuses to open; empty when it opens.
std::string openRefusal(const std::string& dataDir, uint32_t channels = 2) {
    EngineOpenBlock block{};
    block.channelCount = channels;
    block.dataDir = dataDir.c_str();
    uint32_t handle = 0;
    ::testing::internal::CaptureStderr();
    const int32_t status = call(0, kOpOpenInstance, &block, &handle);
    std::string line = ::testing::internal::GetCapturedStderr();
    line.erase(0, line.find("soundfont engine: ")); // a library of FluidSynth's may complain first
    EXPECT_EQ(handle != 0, status == 0);
    EXPECT_EQ(std::count(line.begin(), line.end(), '\n'), status == 0 ? 0 : 1) << line;
    if (handle != 0) {
        EXPECT_EQ(call(handle, kOpCloseInstance), 0);
    }
    return line;
}

TEST(Entry, TellsItsVersion) {
    char text[kOrmoVersionTextSize] = "untouched";
    EXPECT_EQ(call(0, kOpGetVersion, text), 0);
    EXPECT_STREQ(text, "1.0.3");
}

TEST(Entry, OpcodesThatDoNotExistAreRefused) {
    for (const uint32_t opcode : {0U, 7U, 14U, 16U, 17U, 20U, 27U, 29U, 31U, ~0U}) {
        EXPECT_NE(call(Engine().handle(), opcode), 0) << opcode;
    }
}

TEST(Open, SaysInOneLineWhyTheHandleStaysZero) {
    const TempFolder empty, broken, truncated, misshapen;
    WriteFile(broken / "b.sf2", "RIFF, but nothing more");
    WriteFile(truncated / "a.sf2",
              std::string("RIFF\xFF\xFF\0\0sfbk", 12) + std::string(1000, 'x'));
    WriteFile(misshapen / "a.sf2", std::string("RIFF\x14\0\0\0sfbk", 12) + std::string(16, 'x'));
    for (const auto& [dataDir, says] :
         Rows<std::string, std::string>{{"/nonexistent/folder", "/nonexistent/folder"},
                                        {"/not\nthere", "/not there"},
                                        {empty.Path(), empty.Path()},
                                        {broken.Path(), "b.sf2"},
                                        {truncated.Path(), "truncated"},
                                        {misshapen.Path(), "Invalid chunk"},
                                        {"", "data directory"}}) {
        EXPECT_THAT(openRefusal(dataDir), HasSubstr(says));
    }
    for (const uint32_t channels : {0U, 1U, 3U, 34U, ~0U}) {
        EXPECT_NE(openRefusal(empty.Path(), channels), "");
    }
}

TEST(Open, TakesTheFirstFontInByteOrder) {
    const TempFolder folder;
    linkFont(folder / "b.SF2");
    linkFont(folder / "a.sf2.bak");
    linkFont(folder / ".sf2");
    std::filesystem::create_directory(folder / "A.sf2");
    EXPECT_EQ(openRefusal(folder.Path()), "") << "others are no SoundFont files";
    WriteFile(folder / "\xC3\xA4.sf2", "broken, but last");
    EXPECT_EQ(openRefusal(folder.Path()), "");
    WriteFile(folder / "Z.sf3", "broken");
    EXPECT_THAT(openRefusal(folder.Path()), HasSubstr("/Z.sf3\""));
}

TEST(Handles, ClosedAndInventedOnesAreRefusedByEveryOpcode) {
    uint32_t closed = 0;
    {
        const Engine engine;
        closed = engine.handle();
    }
    const Engine open; // may be in the closed one's place
    EXPECT_NE(open.handle(), closed);
    const auto editor = std::make_unique<uint32_t>();
    for (const uint32_t handle : {closed, 0U, 1U, open.handle() + 1, ~0U}) {
        for (const uint32_t opcode :
             {kOpCloseInstance, kOpSetRateAndBlockSize, kOpSuspend, kOpResume, kOpProcess,
              kOpGetChunk, kOpSetChunk, kOpAttachEditor, kOpDetachEditor, kOpEditorDestroy,
              kOpEditorOpen, kOpEditorIdle, kOpEditorGetView, kOpVendorProperty}) {
            EXPECT_NE(call(handle, opcode, editor.get(), editor.get(), nullptr, 44100), 0);
        }
        EXPECT_NE(call(0, kOpEditorCreate, "", editor.get(),
                       reinterpret_cast<void*>(static_cast<uintptr_t>(handle))),
                  0);
        EXPECT_EQ(*editor, 0U);
    }
}

TEST(Handles, InstancesDoNotHearEachOther) {
    const std::vector<TimedEvent> note = {{0, 0xC0, 40, 0}, {1, 0x90, 60, 100}};
    const Channels alone = Engine().render(note, 4096);
    const Engine first, second;
    second.render({{0, 0xC0, 7, 0}, {0, 0xB0, 7, 1}}, 64);
    EXPECT_EQ(first.render(note, 4096), alone);
    EXPECT_NE(first.chunk(), second.chunk());
}

TEST(Handles, FourHundredInstancesSoundAtOnce) {
    std::vector<std::unique_ptr<Engine>> engines;
    for (int i = 0; i < 400; ++i) {
        engines.push_back(std::make_unique<Engine>(soundfont::Setup{.tinyFont = true}));
    }
    for (const auto& engine : engines) {
        ASSERT_GT(peak(engine->render({{0, 0x90, 60, 127}}, 512)[0]), 0.01F);
    }
}

TEST(Handles, Of4096TheNextIsRefusedInOneLineUntilOneGoes) {
    const Engine engine;
    const auto owner = reinterpret_cast<void*>(static_cast<uintptr_t>(engine.handle()));
    std::vector<uint32_t> editors(4097);
    ::testing::internal::CaptureStderr();
    for (uint32_t& editor : editors) {
        EXPECT_EQ(call(0, kOpEditorCreate, "", &editor, owner) == 0, &editor != &editors.back());
    }
    EXPECT_EQ(::testing::internal::GetCapturedStderr(),
              "soundfont engine: no more than 4096 editors can be open at once\n");
    EXPECT_EQ(editors.back(), 0U);
    EXPECT_EQ(call(editors.front(), kOpEditorDestroy), 0);
    EXPECT_EQ(call(0, kOpEditorCreate, "", &editors.front(), owner), 0);
    editors.pop_back();
    for (const uint32_t editor : editors) {
        EXPECT_EQ(call(editor, kOpEditorDestroy), 0);
    }
}

class EditorTest : public ::testing::Test {
protected:
    void SetUp() override {
        const auto engine = reinterpret_cast<void*>(static_cast<uintptr_t>(mEngine.handle()));
        EXPECT_EQ(call(0, kOpEditorCreate, "/data/OrmoSetup.xml", &mEditor, engine), 0);
        EXPECT_EQ(call(mEditor, kOpEditorOpen, nullptr, nullptr, nullptr, 1), 0);
        EXPECT_EQ(call(mEngine.handle(), kOpAttachEditor, editorWord()), 0);
        EXPECT_EQ(call(mEditor, kOpEditorGetView, &mRoot), 0);
        ASSERT_NE(mRoot, nullptr);
    }
    const void* editorWord() const {
        return reinterpret_cast<const void*>(static_cast<uintptr_t>(mEditor));
    }
    std::string line(UInt16 number) const {
        ControlRef control = nullptr;
        GetIndexedSubControl(mRoot, number, &control);
        return Text(CFRef(PlatformControlCopyText(control)).Get());
    }

    Engine mEngine;
    uint32_t mEditor = 0;
    ControlRef mRoot = nullptr;
};

TEST_F(EditorTest, ShowsProgramsAndVoicesAfterIdle) {
    EXPECT_EQ(Count(mRoot), 17);
    HIRect frame{};
    HIViewGetFrame(mRoot, &frame);
    EXPECT_GT(frame.size.width, 0);
    EXPECT_GT(frame.size.height, 0);
    mEngine.render({{0, 0xC2, 40, 0}, {0, 0x92, 60, 100}}, 256);
    EXPECT_EQ(call(mEditor, kOpEditorIdle), 0);
    EXPECT_EQ(line(3), "Channel 3: Violin");
    EXPECT_EQ(line(10), "Channel 10: Standard");
    EXPECT_NE(line(17), "Voices: 0");
    EXPECT_EQ(call(mEngine.handle(), kOpDetachEditor, editorWord()), 0);
    EXPECT_EQ(call(mEditor, kOpEditorIdle), 0);
    EXPECT_EQ(line(3), "Channel 3: -");
    EXPECT_EQ(call(mEditor, kOpEditorDestroy), 0);
    EXPECT_NE(call(mEditor, kOpEditorIdle), 0);
}

TEST_F(EditorTest, LeavesNoControlBehindInWhateverOrderThingsGo) {
    const CFIndex objects = PlatformLiveObjectCount();
    uint32_t unseen = 0;
    call(0, kOpEditorCreate, "", &unseen,
         reinterpret_cast<void*>(static_cast<uintptr_t>(mEngine.handle())));
    EXPECT_EQ(call(unseen, kOpEditorOpen), 0);
    EXPECT_EQ(call(unseen, kOpEditorDestroy), 0);
    EXPECT_EQ(PlatformLiveObjectCount(), objects);
    std::optional<HostWindow> window(std::in_place);
    EXPECT_EQ(EmbedControl(mRoot, window->root), noErr);
    EXPECT_EQ(Count(window->root), 1);
    EXPECT_EQ(call(mEditor, kOpEditorDestroy), 0);
    EXPECT_EQ(Count(window->root), 0);
    SetUp();
    EmbedControl(mRoot, window->root);
    window.reset();
    EXPECT_EQ(call(mEditor, kOpEditorIdle), 0);
    EXPECT_EQ(call(mEditor, kOpEditorDestroy), 0);
}

TEST_F(EditorTest, ObeysItsOwnEngineAlone) {
    const Engine other;
    EXPECT_NE(call(other.handle(), kOpDetachEditor, editorWord()), 0);
    EXPECT_EQ(call(mEditor, kOpEditorIdle), 0);
    EXPECT_NE(line(1), "Channel 1: -");
    EXPECT_EQ(call(mEditor, kOpEditorDestroy), 0);
}

TEST_F(EditorTest, OutlivesItsEngineAndShowsAnyName) {
    mEngine.~Engine();
    EXPECT_EQ(call(mEditor, kOpEditorIdle), 0);
    EXPECT_EQ(line(1), "Channel 1: -");
    EXPECT_EQ(call(mEditor, kOpEditorDestroy), 0);
    new (&mEngine) Engine({.tinyFont = true});
    SetUp();
    EXPECT_EQ(call(mEditor, kOpEditorIdle), 0);
    EXPECT_EQ(line(1), "Channel 1: Ti?y") << "its name is not UTF-8";
    EXPECT_EQ(call(mEditor, kOpEditorDestroy), 0);
}

TEST(Threads, EveryCallMayComeWhileRendering) {
    const Engine engine({8});
    std::atomic<bool> isOver{false};
    std::thread render([&] {
        const auto piece = busyPiece(4096);
        while (!isOver.load()) {
            for (const auto& channel : engine.render(piece, 4096, 256)) {
                EXPECT_LT(peak(channel), 10.0F);
            }
        }
    });
    const auto chunk = Engine().chunk();
    for (int i = 0; i < 300; ++i) {
        float gain = static_cast<float>(i % 10) / 20.0F;
        float read = -1;
        EXPECT_EQ(engine.property(kSoundFontGain, gain), 0);
        EXPECT_EQ(engine.property(kSoundFontGain + kSoundFontGet, read), 0);
        EXPECT_EQ(read, gain);
        EXPECT_EQ(engine.chunk().size(), chunk.size());
        if (i % 10 == 0) {
            EXPECT_EQ(engine.setChunk(chunk), 0);
            engine.restart(i % 20 == 0);
            const int rate = i % 20 == 0 ? 48000 : 44100;
            call(engine.handle(), kOpSetRateAndBlockSize, nullptr, nullptr, nullptr, rate, 256);
        }
        std::this_thread::yield();
    }
    isOver.store(true);
    render.join();
}

} // namespace
} // namespace velnor::soundfont
