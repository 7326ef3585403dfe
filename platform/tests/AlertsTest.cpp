#include "platform/LaunchServices.h"
#include "platform/TerminalText.h"
#include "testing/Testing.h"

#include <csignal>
#include <fcntl.h>
#include <functional>
#include <pty.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace velnor::testing {
namespace {

// Status and response.
using Shown = std::pair<SInt32, CFOptionFlags>;

// Buttons that are null are none, or the platform's for the first.
Shown ShowNotification(const char* second, const char* third, double timeout = 0) {
    const auto alternate = second ? String(second) : CFRef<CFStringRef>();
    const auto other = third ? String(third) : CFRef<CFStringRef>();
    Shown shown{-1, 99};
    shown.first = CFUserNotificationDisplayAlert(
        timeout, kCFUserNotificationStopAlertLevel, nullptr, nullptr, nullptr,
        String("Tarn -x <b>").Get(), String("Line 1\nC:\\new").Get(), nullptr, alternate.Get(),
        other.Get(), &shown.second);
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
    AlertRecorder recorder;
    EXPECT_EQ(ShowNotification(nullptr, nullptr), (Shown{0, 0}));
    recorder.Answer(2);
    EXPECT_EQ(ShowNotification("Quit", "Later"), (Shown{0, kCFUserNotificationOtherResponse}));
    recorder.Answer(1);
    EXPECT_EQ(AskYesNo(), kStdCancelItemIndex);
    EXPECT_THAT(
        recorder.Alerts(),
        ElementsAre(FieldsAre(0, "Tarn -x <b>", "Line 1\nC:\\new", ElementsAre("OK", "", "")),
                    FieldsAre(0, _, _, ElementsAre("OK", "Quit", "Later")),
                    FieldsAre(2, "Sure?", _, ElementsAre("Yes", "No", ""))));
    for (const SInt32 noAnswer : {-1, 1, 4}) {
        recorder.Answer(noAnswer);
        EXPECT_EQ(ShowNotification(nullptr, nullptr).first, ioErr) << noAnswer;
    }
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
class Dialogs : public ::testing::Test {
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
    ::testing::internal::CaptureStderr();
    EXPECT_EQ(ShowNotification(nullptr, nullptr), (Shown{0, 0}));
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "Tarn -x <b>\nLine 1\nC:\\new\n");
    EXPECT_EQ(Arguments(), "");
}

TEST_F(Dialogs, OnlyAnAlertThatNobodyMayHaveSeenIsWrittenToo) {
    for (const auto& [program, end, isSeen] : Rows<const char*, const char*, bool>{
             {"zenity", "exit 1", true},
             {"zenity", "echo 'cannot open display' >&2; exit 1", false},
             {"zenity", "exit 127", false},
             {"kdialog", "exit 2", true},
             {"kdialog", "exit 127", false},
             {"xmessage", "exit 1", true},
             {"xmessage", "echo \"Can't open display\" >&2; exit 1", false}}) {
        AddProgram(program, end);
        ::testing::internal::CaptureStderr();
        EXPECT_EQ(ShowNotification(nullptr, nullptr), (Shown{0, 0}));
        const std::string written = ::testing::internal::GetCapturedStderr();
        EXPECT_EQ(written, isSeen ? "" : "Tarn -x <b>\nLine 1\nC:\\new\n") << program << end;
        std::filesystem::remove(mFolder / program);
    }
}

TEST_F(Dialogs, WhatADialogLeavesRunningIsNotWaitedFor) {
    AddProgram("zenity", "/bin/sleep 5 & echo Quit; exit 1");
    EXPECT_EQ(ShowNotification("Quit", "Later", 3), (Shown{0, 1}));
}

// Whatever a host does with its signals and files, the programs are started like a shell's.
TEST_F(Dialogs, StartedProgramsInheritNeitherFilesNorBlockedSignals) {
    const std::string state = mFolder / "state";
    const int file = open(mFolder.Path().c_str(), O_RDONLY);
    sigset_t signals, before;
    sigfillset(&signals);
    pthread_sigmask(SIG_SETMASK, &signals, &before);
    const auto ignored = std::signal(SIGTERM, SIG_IGN);
    for (const char* name : {"zenity", "xdg-open"}) {
        ASSERT_EQ(mkfifo(state.c_str(), 0600), 0);
        AddProgram(name, "{ /bin/ls /proc/self/fd; /bin/grep -E 'Sig(Blk|Ign)' /proc/self/status; }"
                         " >'" +
                             state + "' &");
        EXPECT_EQ(name[0] == 'z' ? ShowNotification(nullptr, nullptr).first
                                 : LSOpenCFURLRef(Url("http://x/").Get(), nullptr),
                  noErr);
        EXPECT_THAT(ReadFile(state),
                    MatchesRegex("0\n1\n2\n3\nSigBlk:\t0+\nSigIgn:\t[0-9a-f]+0006\n"))
            << name;
        std::filesystem::remove(state);
    }
    std::signal(SIGTERM, ignored);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    close(file);
}

TEST_F(Dialogs, UrlsGoToTheOpenerAsOneArgument) {
    const std::string text = "http://host/a?b=$(c)&d='e';f";
    const auto url = Url(text);
    ASSERT_TRUE(url);
    EXPECT_EQ(LSOpenCFURLRef(url.Get(), nullptr), kLSApplicationNotFoundErr);
    ASSERT_EQ(mkfifo((mFolder / "arguments").c_str(), 0600), 0);
    AddProgram("xdg-open", "exit 0");
    EXPECT_EQ(LSOpenCFURLRef(url.Get(), nullptr), noErr);
    EXPECT_EQ(Arguments(), text + "\n");
}

struct TerminalSession {
    std::string screen; // what stood on the terminal in the end, typed text included
    int result;         // what the code returned, 0 to 255; -1 when it did not come to its end
};

// Runs the code in a process of its own whose standard streams are a terminal without a display,
// with the text typed beforehand.
inline TerminalSession InTerminal(const std::string& typed, const std::function<int()>& code) {
    TerminalSession session{"", -1};
    int terminal = -1;
    const pid_t child = forkpty(&terminal, nullptr, nullptr, nullptr);
    if (child == 0) {
        unsetenv("DISPLAY");
        unsetenv("WAYLAND_DISPLAY");
        alarm(20);
        _exit(code());
    }
    EXPECT_GT(child, 0);
    EXPECT_EQ(write(terminal, typed.data(), typed.size()), static_cast<ssize_t>(typed.size()));
    char block[512];
    for (ssize_t got = 0; (got = read(terminal, block, sizeof block)) > 0;) {
        session.screen.append(block, static_cast<std::size_t>(got));
    }
    int status = 0;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    session.result = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    close(terminal);
    return session;
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

TEST(TerminalText, KeepsWhatIsWrittenAndNothingElse) {
    for (const auto& [text, line, lines] : Rows<std::string, const char*, const char*>{
             {"Caf\u00E9 \u65E5\u672C \U0001F3B9", "Caf\u00E9 \u65E5\u672C \U0001F3B9", nullptr},
             {"a\nb\tc\r", "a?b?c?", "a\nb\tc?"},
             {std::string("\0\x1B]0;x\a\x7F", 8), "??]0;x??", nullptr},
             {"\u0080\u009B\u009F\u00A0", "???\u00A0", nullptr},
             {"\u2028\u2029\u202A\u202E\u2066\u2069\u200F", "??????\u200F", nullptr},
             {"\xFF\xC3|\xE2\x80|\xED\xA0\x80|\xC0\x9B\xF0\x9F", "??|??|???|????", nullptr}}) {
        for (const bool keeps : {false, true}) {
            std::string shown = text;
            shown.resize(PlatformCleanTerminalText(shown.data(), shown.size(), keeps));
            EXPECT_EQ(shown, keeps && lines ? lines : line);
        }
    }
}

TEST(AlertsAtATerminal, ATimeOutEndsTheWait) {
    const auto session = InTerminal(
        "", [] { return static_cast<int>(ShowNotification(nullptr, nullptr, 0.1).second); });
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
} // namespace velnor::testing
