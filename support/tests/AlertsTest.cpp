#include "support/Alerts.h"

#include "support/Browser.h"
#include "testing/Testing.h"

#include <unistd.h>

namespace velnor::testing {
namespace {

TEST(Alerts, MessageHasTheTitleAndQuestionsAreTrueForYesOnly) {
    AlertRecorder recorder;
    popupModalMessageWindow(nullptr, "Tarn 12", "caf\x8E");
    for (const SInt32 answer : {0, 1, -1}) {
        recorder.Answer(answer);
        EXPECT_EQ(popupModalYesNoWindow(nullptr, "unused", "Go on?"), answer == 0) << answer;
    }
    ASSERT_EQ(recorder.Alerts().size(), 4U);
    const auto& [level, header, message, buttons] = recorder.Alerts()[0];
    EXPECT_EQ(level, 2);
    EXPECT_EQ(header + message + buttons[1], "Tarn 12\ncaf\xC3\xA9");
    const AlertRecorder::Alert& question = recorder.Alerts()[1];
    EXPECT_EQ(question.level, 2);
    EXPECT_EQ(question.header, "Go on?");
    EXPECT_THAT(question.buttons, ElementsAre("Yes", "No", ""));
}

TEST(Alerts, AQuestionThatNobodySeesIsAnsweredNo) {
    const ScopedEnv noX("DISPLAY", nullptr), noWayland("WAYLAND_DISPLAY", nullptr);
    internal::CaptureStderr();
    EXPECT_FALSE(popupModalYesNoWindow(nullptr, "unused", "Go on?"));
    EXPECT_EQ(internal::GetCapturedStderr(), "Go on?\n");
}

// The opener writes down what it was started with.
TEST(Browser, OpensUrlsAndIgnoresOtherText) {
    const TempFolder folder;
    const std::string opener = folder / "bin/xdg-open";
    WriteFile(opener, "#!/bin/sh\nprintf %s \"$1\" > \"$0.tmp\"; mv \"$0.tmp\" \"$0.url\"\n");
    std::filesystem::permissions(opener, std::filesystem::perms::owner_all);
    const ScopedEnv search("PATH", (folder / "bin:/bin:/usr/bin").c_str());
    for (const char* url : {"not a url", "http://example.invalid/caf\xC3\xA9", "",
                            "http://example.invalid/?a=$(b)&c"}) {
        startBrowser(url);
    }
    for (int i = 0; i < 500 && ReadFile(opener + ".url").empty(); ++i) {
        usleep(10000);
    }
    EXPECT_EQ(ReadFile(opener + ".url"), "http://example.invalid/?a=$(b)&c");
}

} // namespace
} // namespace velnor::testing
