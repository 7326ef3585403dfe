#include "platform/tests/TempHome.h"
#include "support/LogLine.h"
#include "support/tests/LogFile.h"

#include <gmock/gmock.h>

#include <locale>
#include <pthread.h>
#include <thread>

namespace {

namespace fs = std::filesystem;
using testing::MatchesRegex;
using velnor::LogLine;
using velnor::LogSeverity;
using velnor::test::ReadFile;
using velnor::test::TempFolder;
using velnor::test::WriteFile;

const std::string kDay = "[A-Z][a-z][a-z] [A-Z][a-z][a-z] [ 1-3][0-9] ";

TEST(Log, HoldsHeaderLinesFooterAndTheMarkOfACleanClose) {
    const TempFolder folder;
    const std::string path = folder / "x.log";
    LogLine(LogSeverity::kInformation, "before");
    {
        ConsoleLogger logger;
        EXPECT_TRUE(logger.init(path) && logger.good());
        LogLine(LogSeverity::kError, "first\nsecond");
    }
    LogLine(LogSeverity::kInformation, "after");
    const std::string head =
        ":" + std::to_string(static_cast<uintptr_t>(pthread_self())) + ":[1-9][0-9]*:";
    std::string lines = "Ig_pluginStream:0x[0-9a-f]+\nI" + path + " opened on: " + kDay +
                        "[0-9][0-9]_[0-9][0-9]_[0-9][0-9] [0-9]+ BUILD:Aug 12 2009\nI" +
                        std::string(79, '-') + "\nEfirst\nsecond\nI" + std::string(79, '-') +
                        "\nI" + path + " closed on: " + kDay +
                        "[0-9][0-9]:[0-9][0-9]:[0-9][0-9] [0-9]+\n@";
    lines.insert(1, head);
    for (std::size_t at = 0; (at = lines.find_first_of('\n', at)) != std::string::npos; ++at) {
        if (lines[at + 1] == 'I' || lines[at + 1] == 'E')
            lines.insert(at + 2, head);
    }
    EXPECT_THAT(ReadFile(path), MatchesRegex(lines));
}

TEST(Log, OnlyAnUncleanNonEmptyPredecessorIsSaved) {
    for (const std::string content : {"I:clean\n@", "", "@I:cut", "I:cut\n"}) {
        const TempFolder folder;
        const std::string path = WriteFile(folder / "x.log", content);
        ASSERT_TRUE(ConsoleLogger().init(path));
        std::string copy;
        for (const auto& entry : fs::directory_iterator(folder.Path()))
            copy = entry.path() != path ? entry.path().string() : copy;
        EXPECT_EQ(ReadFile(path).find("I:c"), std::string::npos) << "the new log is not truncated";
        const bool saved = content.find("cut") != std::string::npos;
        EXPECT_EQ(ReadFile(copy), saved ? content : "");
        EXPECT_THAT(copy, MatchesRegex(saved ? path + "_" + kDay +
                                                   "[0-9][0-9]_[0-9][0-9]_[0-9]"
                                                   "[0-9] [0-9]+\\.log"
                                             : ""));
    }
}

TEST(Log, InAFolderThatDoesNotExistRefusesAndDropsLines) {
    const TempFolder folder;
    ConsoleLogger logger;
    EXPECT_FALSE(logger.init(folder / "none/x.log") || logger.good());
    EXPECT_NE(g_pluginStream, nullptr);
    LogLine(LogSeverity::kError, "nowhere");
    EXPECT_TRUE(fs::is_empty(folder.Path()));
    EXPECT_TRUE(logger.init(folder / "x.log")) << "a logger can be opened again";
}

struct Grouped : std::numpunct<char> {
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\1"; }
};

TEST(Log, LinesOfTwoThreadsStayWholeInAnyLocale) {
    const TempFolder folder;
    const std::locale before = std::locale::global(std::locale(std::locale(), new Grouped));
    ConsoleLogger logger;
    ASSERT_TRUE(logger.init(folder / "x.log"));
    const auto write = [] {
        for (int i = 0; i < 500; ++i)
            LogLine(LogSeverity::kInformation, std::string(100, 'x'));
    };
    std::thread other(write);
    write();
    other.join();
    std::locale::global(before);
    const std::vector<std::string> lines = velnor::test::logMessages(folder / "x.log");
    EXPECT_THAT(lines.front(), MatchesRegex("Ig_pluginStream:0x[0-9a-f]+"));
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "I" + std::string(100, 'x')), 1000);
}

} // namespace
