#include "support/Alerts.h"
#include "support/Browser.h"

#include "platform/tests/TempHome.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace {

using velnor::test::AlertRecorder;

TEST(Alerts, MessageWindowShowsTitleAndMessageAsOneText) {
    AlertRecorder recorder;
    popupModalMessageWindow(nullptr, "Tarn 12", "caf\x8E");
    ASSERT_EQ(recorder.Alerts().size(), 1U);
    const AlertRecorder::Alert& alert = recorder.Alerts().front();
    EXPECT_EQ(alert.level, 2);
    EXPECT_EQ(alert.header, "Tarn 12\ncaf\xC3\xA9");
    EXPECT_EQ(alert.message, "");
    EXPECT_EQ(alert.buttons[1], "");
}

TEST(Alerts, YesNoWindowIsTrueForYesOnly) {
    AlertRecorder recorder;
    for (const SInt32 answer : {0, 1, -1}) {
        recorder.Answer(answer);
        EXPECT_EQ(popupModalYesNoWindow(nullptr, "unused", "Go on?"), answer == 0) << answer;
    }
    ASSERT_EQ(recorder.Alerts().size(), 3U);
    const AlertRecorder::Alert& alert = recorder.Alerts().front();
    EXPECT_EQ(alert.level, 2);
    EXPECT_EQ(alert.header, "Go on?");
    EXPECT_EQ(alert.buttons, (std::array<std::string, 3>{"Yes", "No", ""}));
}

// The opener writes down what it was started with.
TEST(Browser, OpensUrlsAndIgnoresOtherText) {
    const velnor::test::TempFolder folder;
    const std::string opener = velnor::test::WriteFile(
        folder / "bin/xdg-open",
        "#!/bin/sh\nprintf %s \"$1\" > \"$0.tmp\"; mv \"$0.tmp\" \"$0.url\"\n");
    std::filesystem::permissions(opener, std::filesystem::perms::owner_all);
    const std::string path = folder / "bin:/bin:/usr/bin";
    const velnor::test::ScopedEnv search("PATH", path.c_str());
    startBrowser("not a url");
    startBrowser("http://example.invalid/caf\xC3\xA9");
    startBrowser("");
    startBrowser("http://example.invalid/?a=$(b)&c");
    for (int i = 0; i < 200 && !std::filesystem::exists(opener + ".url"); ++i)
        usleep(10000);
    EXPECT_EQ(velnor::test::ReadFile(opener + ".url"), "http://example.invalid/?a=$(b)&c");
}

} // namespace
