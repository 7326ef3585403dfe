#include "platform/LaunchServices.h"
#include "platform/tests/Terminal.h"
#include "platform/tests/Testing.h"

#include <sys/stat.h>

namespace velnor::test {
namespace {

struct Shown {
    SInt32 result;
    CFOptionFlags response;
    bool operator==(const Shown&) const = default;
};

// Buttons that are null are none, or the platform's for the first.
Shown ShowNotification(const char* second, const char* third, double timeout = 0) {
    const auto alternate = second ? String(second) : CFRef<CFStringRef>();
    const auto other = third ? String(third) : CFRef<CFStringRef>();
    Shown shown{-1, 99};
    shown.result = CFUserNotificationDisplayAlert(
        timeout, kCFUserNotificationStopAlertLevel, nullptr, nullptr, nullptr,
        String("Tarn -x <b>").Get(), String("Line 1\nC:\\new").Get(), nullptr, alternate.Get(),
        other.Get(), &shown.response);
    return shown;
}

// The button that a caution alert with the buttons Yes and No was answered with, or the status.
SInt32 AskYesNo(SInt16 defaultButton = 1) {
    AlertStdCFStringAlertParamRec param;
    EXPECT_EQ(GetStandardAlertDefaultParams(&param, kStdCFStringAlertVersionOne), noErr);
    const auto yes = String("Yes");
    const auto no = String("No");
    param.defaultText = yes.Get();
    param.cancelText = no.Get();
    param.defaultButton = defaultButton;
    param.cancelButton = kStdCancelItemIndex;
    DialogRef dialog = nullptr;
    EXPECT_EQ(
        CreateStandardAlert(kAlertCautionAlert, String("Sure?").Get(), nullptr, &param, &dialog),
        noErr);
    DialogItemIndex hit = 0;
    const OSStatus status = RunStandardAlert(dialog, nullptr, &hit);
    return status == noErr ? hit : status;
}

TEST(Alerts, PresentersGetWhatTheCallersSay) {
    const CFIndex objects = PlatformLiveObjectCount();
    AlertRecorder recorder;
    EXPECT_EQ(ShowNotification(nullptr, nullptr), (Shown{0, 0}));
    recorder.Answer(2);
    EXPECT_EQ(ShowNotification("Quit", "Later"), (Shown{0, kCFUserNotificationOtherResponse}));
    recorder.Answer(1);
    EXPECT_EQ(AskYesNo(), kStdCancelItemIndex);
    ASSERT_EQ(recorder.Alerts().size(), 3u);
    EXPECT_EQ(recorder.Alerts()[0].header, "Tarn -x <b>");
    EXPECT_EQ(recorder.Alerts()[0].message, "Line 1\nC:\\new");
    EXPECT_THAT(recorder.Alerts()[0].buttons, ElementsAre("OK", "", ""));
    EXPECT_EQ(recorder.Alerts()[0].level, 0);
    EXPECT_THAT(recorder.Alerts()[1].buttons, ElementsAre("OK", "Quit", "Later"));
    EXPECT_EQ(recorder.Alerts()[2].header, "Sure?");
    EXPECT_EQ(recorder.Alerts()[2].level, 2);
    EXPECT_THAT(recorder.Alerts()[2].buttons, ElementsAre("Yes", "No", ""));

    for (const SInt32 noAnswer : {-1, 1, 4}) {
        recorder.Answer(noAnswer);
        EXPECT_EQ(ShowNotification(nullptr, nullptr).result, ioErr) << noAnswer;
    }
    EXPECT_EQ(PlatformLiveObjectCount(), objects);
}

TEST(Alerts, AlertsOutOfRangeAreRefused) {
    AlertStdCFStringAlertParamRec good;
    EXPECT_EQ(GetStandardAlertDefaultParams(&good, 2), paramErr);
    ASSERT_EQ(GetStandardAlertDefaultParams(&good, kStdCFStringAlertVersionOne), noErr);
    const auto text = String("text");
    DialogRef dialog = nullptr;
    EXPECT_EQ(CreateStandardAlert(4, text.Get(), nullptr, &good, &dialog), paramErr);
    EXPECT_EQ(CreateStandardAlert(2, nullptr, nullptr, &good, &dialog), paramErr);
    for (const SInt16 number : {SInt16{-1}, SInt16{0}, SInt16{4}}) {
        auto bad = good;
        bad.defaultButton = number;
        EXPECT_EQ(CreateStandardAlert(2, text.Get(), nullptr, &bad, &dialog), paramErr);
    }
    EXPECT_EQ(RunStandardAlert(nullptr, nullptr, nullptr), paramErr);
}

// A search path with dialog programs of the test's own, which write their arguments, one a line,
// to the file "arguments".
class Dialogs : public testing::Test {
protected:
    void AddProgram(const std::string& name, const std::string& end) {
        const std::string file =
            WriteFile(mFolder / name, "#!/bin/sh\nfor a; do printf '%s\\n' \"$a\"; done >'" +
                                          (mFolder / "arguments'\n") + end + "\n");
        std::filesystem::permissions(file, std::filesystem::perms(0755));
    }
    std::string Arguments() const { return ReadFile(mFolder / "arguments"); }

    const TempFolder mFolder;
    const ScopedEnv mPath{"PATH", mFolder.Path().c_str()};
    const ScopedEnv mDisplay{"DISPLAY", ":none"};
    const ScopedEnv mWayland{"WAYLAND_DISPLAY", nullptr};
};

TEST_F(Dialogs, ZenityShowsTextAsItIsAndAnswersByStatusAndLabel) {
    AddProgram("kdialog", "exit 0");
    AddProgram("zenity", "exit 0");
    EXPECT_EQ(ShowNotification(nullptr, nullptr), (Shown{0, 0}));
    EXPECT_EQ(Arguments(), "--error\n--title=Tarn -x <b>\n--no-markup\n"
                           "--text=Tarn -x <b>\n\nLine 1\nC:\\\\new\n--ok-label=OK\n");
    AddProgram("zenity", "exit 1");
    EXPECT_EQ(AskYesNo(), 2);
    EXPECT_THAT(Arguments(), HasSubstr("--question\n"));
    EXPECT_THAT(Arguments(), EndsWith("--ok-label=Yes\n--cancel-label=No\n"));
    EXPECT_EQ(AskYesNo(2), 2);
    EXPECT_THAT(Arguments(), EndsWith("--default-cancel\n"));
    AddProgram("zenity", "echo Quit; exit 1");
    EXPECT_EQ(ShowNotification("Quit", "Later"), (Shown{0, 1}));
    EXPECT_THAT(Arguments(), EndsWith("--cancel-label=Later\n--extra-button=Quit\n"));
}

TEST_F(Dialogs, EachProgramIsAskedInItsOwnWay) {
    AddProgram("kdialog", "exit 1");
    EXPECT_EQ(ShowNotification("Quit", "Later"), (Shown{0, 1}));
    EXPECT_EQ(Arguments(), "--title\nTarn -x <b>\n--yesnocancel\n<qt>Tarn -x &lt;b&gt;<br/><br/>"
                           "Line 1<br/>C:\\\\new</qt>\n--yes-label\nOK\n--no-label\nQuit\n"
                           "--cancel-label\nLater\n");
    std::filesystem::remove(mFolder / "kdialog");
    AddProgram("xmessage", "exit 102");
    EXPECT_EQ(ShowNotification("a,b:c", nullptr), (Shown{0, 1}));
    EXPECT_EQ(Arguments(),
              "-center\n-title\nTarn -x <b>\n-buttons\nOK:101,a\\,b\\:c:102\n-default\n"
              "OK\n Tarn -x <b>\n\nLine 1\nC:\\new\n");
}

TEST_F(Dialogs, AProgramThatDiesGivesWayToTheNext) {
    AddProgram("zenity", "kill -9 $$");
    AddProgram("kdialog", "exit 0");
    EXPECT_EQ(ShowNotification(nullptr, nullptr), (Shown{0, 0}));
    EXPECT_THAT(Arguments(), HasSubstr("<qt>"));
}

TEST_F(Dialogs, ATimeOutEndsTheDialog) {
    AddProgram("zenity", "while :; do :; done");
    EXPECT_EQ(ShowNotification(nullptr, nullptr, 0.2),
              (Shown{0, kCFUserNotificationCancelResponse}));
}

TEST_F(Dialogs, WithoutADisplayNoProgramIsStarted) {
    AddProgram("zenity", "exit 0");
    const ScopedEnv noDisplay("DISPLAY", nullptr);
    testing::internal::CaptureStderr();
    EXPECT_EQ(ShowNotification(nullptr, nullptr), (Shown{0, 0}));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Tarn -x <b>\nLine 1\nC:\\new\n");
    EXPECT_EQ(Arguments(), "");
}

TEST_F(Dialogs, OnlyAnAlertThatNobodyMayHaveSeenIsWrittenToo) {
    struct Case {
        const char* program;
        const char* end;
        bool isSeen;
    };
    for (const Case& c : {Case{"zenity", "exit 1", true},
                          {"zenity", "echo 'cannot open display' >&2; exit 1", false},
                          {"zenity", "exit 127", false},
                          {"kdialog", "exit 2", true},
                          {"kdialog", "exit 127", false},
                          {"xmessage", "exit 1", true},
                          {"xmessage", "echo \"Can't open display\" >&2; exit 1", false}}) {
        AddProgram(c.program, c.end);
        testing::internal::CaptureStderr();
        EXPECT_EQ(ShowNotification(nullptr, nullptr), (Shown{0, 0}));
        const std::string written = testing::internal::GetCapturedStderr();
        EXPECT_EQ(written, c.isSeen ? "" : "Tarn -x <b>\nLine 1\nC:\\new\n") << c.program << c.end;
        std::filesystem::remove(mFolder / c.program);
    }
}

TEST_F(Dialogs, WhatADialogLeavesRunningIsNotWaitedFor) {
    AddProgram("zenity", "/bin/sleep 5 & echo Quit; exit 1");
    EXPECT_EQ(ShowNotification("Quit", "Later", 3), (Shown{0, 1}));
}

TEST_F(Dialogs, UrlsGoToTheOpenerAsOneArgument) {
    const std::string text = "http://host/a?b=$(c)&d='e';f";
    const CFRef<CFURLRef> url(
        CFURLCreateWithBytes(nullptr, reinterpret_cast<const UInt8*>(text.data()),
                             static_cast<CFIndex>(text.size()), kCFStringEncodingASCII, nullptr));
    ASSERT_TRUE(url);
    EXPECT_EQ(LSOpenCFURLRef(url.Get(), nullptr), kLSApplicationNotFoundErr);
    ASSERT_EQ(mkfifo((mFolder / "arguments").c_str(), 0600), 0);
    AddProgram("xdg-open", "exit 0");
    EXPECT_EQ(LSOpenCFURLRef(url.Get(), nullptr), noErr);
    EXPECT_EQ(Arguments(), text + "\n");
}

TEST(AlertsAtATerminal, AnswersAreReadAndQuestionsRepeated) {
    const std::tuple<const char*, SInt16, int> cases[] = {
        {"\n", 1, 1},  {"\n", 2, 2},         {"yes\n", 2, 1},   {"n\n", 1, 2},
        {"2\n", 1, 2}, {"maybe\n1\n", 2, 1}, {"3\nNO\n", 1, 2}, {"\x04", 1, 2}};
    for (const auto& [typed, defaultButton, answer] : cases) {
        const auto session =
            InTerminal(typed, [button = defaultButton] { return AskYesNo(button); });
        EXPECT_EQ(session.result, answer) << typed;
        EXPECT_THAT(session.screen, AllOf(HasSubstr("Sure?"), HasSubstr("1: Yes  2: No"))) << typed;
    }
}

TEST(AlertsAtATerminal, ControlCharactersDoNotReachIt) {
    const auto session = InTerminal("\n", [] {
        return CFUserNotificationDisplayAlert(0, 0, nullptr, nullptr, nullptr,
                                              String("a\x1B[2Jb\xC2\x9B"
                                                     "c\td")
                                                  .Get(),
                                              nullptr, nullptr, nullptr, nullptr, nullptr);
    });
    EXPECT_EQ(session.result, 0);
    EXPECT_THAT(session.screen, HasSubstr("a?[2Jb?c"));
    EXPECT_THAT(session.screen, HasSubstr("Press Enter"));
}

TEST(AlertsAtATerminal, ATimeOutEndsTheWait) {
    const auto session = InTerminal(
        "", [] { return static_cast<int>(ShowNotification(nullptr, nullptr, 0.1).response); });
    EXPECT_EQ(session.result, static_cast<int>(kCFUserNotificationCancelResponse));
}

TEST(AlertsAtATerminal, NobodyIsAskedThroughAPipe) {
    const auto session = InTerminal("", [] {
        int ends[2];
        if (pipe(ends) != 0 || dup2(ends[0], STDIN_FILENO) < 0) {
            return -1;
        }
        return AskYesNo();
    });
    EXPECT_EQ(session.result, 2);
}

} // namespace
} // namespace velnor::test
