#include "support/LogLine.h"
#include "testing/LogFile.h"
#include "testing/SystemFault.h"
#include "testing/Testing.h"

#include <locale>
#include <pthread.h>

namespace velnor::testing {
namespace {

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
    const std::string dashes = "I:" + std::string(79, '-');
    EXPECT_THAT(logMessages(path),
                ElementsAre(MatchesRegex("I:g_pluginStream:0x[0-9a-f]+"),
                            StartsWith("I:" + path + " opened on: "), dashes, "E:first", "second",
                            dashes, StartsWith("I:" + path + " closed on: "), "@"));
    const std::string thread = std::to_string(static_cast<uintptr_t>(pthread_self()));
    EXPECT_THAT(ReadFile(path), HasSubstr("\nE:" + thread + ":"));
}

TEST(Log, OnlyAnUncleanNonEmptyPredecessorIsSaved) {
    for (const std::string content : {"I:clean\n@", "", "@I:cut", "I:cut\n"}) {
        const TempFolder folder;
        const std::string path = WriteFile(folder / "x.log", content);
        ASSERT_TRUE(ConsoleLogger().init(path));
        std::string copy;
        for (const auto& entry : std::filesystem::directory_iterator(folder.Path())) {
            copy = entry.path() != path ? entry.path().string() : copy;
        }
        EXPECT_EQ(ReadFile(path).find("I:c"), std::string::npos) << "the new log is not truncated";
        const bool saved = content.find("cut") != std::string::npos;
        EXPECT_EQ(ReadFile(copy), saved ? content : "");
        const std::string two = "[0-9][0-9]";
        EXPECT_THAT(copy,
                    MatchesRegex(saved ? path + "_[A-Z][a-z][a-z] [A-Z][a-z][a-z] [ 1-3][0-9] " +
                                             two + "_" + two + "_" + two + " [0-9]+\\.log"
                                       : ""));
    }
}

TEST(Log, OfTwoProcessesHoldsTheLinesOfBoth) {
    const TempFolder folder;
    const std::string path = folder / "x.log";
    const auto write = [](const char* text) {
        for (int i = 0; i < 300; ++i) {
            LogLine(LogSeverity::kInformation, text);
        }
    };
    const auto inAnother = [&](bool closes) {
        const pid_t child = fork();
        if (child == 0) {
            auto* logger = new ConsoleLogger;
            logger->init(path);
            write("other");
            if (closes) {
                delete logger;
            }
            _exit(0);
        }
        return child;
    };
    {
        ConsoleLogger logger;
        ASSERT_TRUE(logger.init(path));
        write("first");
        for (const bool closes : {true, false}) {
            const pid_t child = inAnother(closes);
            write("meanwhile");
            waitpid(child, nullptr, 0);
            write("later");
        }
    }
    const Texts lines = logMessages(path);
    EXPECT_THAT(lines, Contains("I:other").Times(600));
    EXPECT_THAT(lines, Contains("I:meanwhile").Times(600));
    EXPECT_THAT(lines, Contains("I:later").Times(600));
    EXPECT_THAT(lines, Contains("I:first").Times(300));
    EXPECT_THAT(lines, Contains("@").Times(1));
    EXPECT_EQ(lines.back(), "@");
    EXPECT_EQ(lines.size(), 2101 + 3 * 3 + 2 * 2u);
    waitpid(inAnother(false), nullptr, 0);
    EXPECT_TRUE(ConsoleLogger().init(path));
    const auto files = std::filesystem::directory_iterator(folder.Path());
    EXPECT_EQ(std::distance(begin(files), end(files)), 2) << "the process that died left its log";
}

TEST(Log, InAFolderThatDoesNotExistRefusesAndDropsLines) {
    const TempFolder folder;
    ConsoleLogger logger;
    EXPECT_FALSE(logger.init(folder / "none/x.log") || logger.good());
    EXPECT_NE(g_pluginStream, nullptr);
    LogLine(LogSeverity::kError, "nowhere");
    EXPECT_TRUE(std::filesystem::is_empty(folder.Path()));
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
        for (int i = 0; i < 500; ++i) {
            LogLine(LogSeverity::kInformation, std::string(100, 'x'));
        }
    };
    std::thread other(write);
    write();
    other.join();
    std::locale::global(before);
    const Texts lines = logMessages(folder / "x.log");
    EXPECT_THAT(lines.front(), MatchesRegex("I:g_pluginStream:0x[0-9a-f]+"));
    EXPECT_THAT(lines, Contains("I:" + std::string(100, 'x')).Times(1000));
}

TEST(LogFault, InAnyCallLosesLinesAndNothingElse) {
    if (!canMakeFaults()) {
        GTEST_SKIP() << "this system does not let a process trace its child";
    }
    for (const Fault fault :
         {Fault::kChange, Fault::kChangesFromThere, Fault::kRead, Fault::kVanish}) {
        bool met = true;
        int number = 1;
        for (; met; ++number) {
            SCOPED_TRACE(number);
            const TempFolder folder;
            const std::string path = WriteFile(folder / "x.log", "I:unclean\n");
            const FaultyRun run = runWithFault(
                fault, number,
                [&path] {
                    ConsoleLogger logger;
                    logger.init(path);
                    LogLine(LogSeverity::kError, "line");
                    return 0;
                },
                folder.Path());
            met = run.met;
            ASSERT_EQ(run.status, 0);
            std::istringstream log(ReadFile(path));
            for (std::string line; std::getline(log, line);) {
                ASSERT_TRUE(line.starts_with("I:") || line.starts_with("E:") || line == "@")
                    << line;
            }
            std::filesystem::create_directories(folder.Path());
            ConsoleLogger after;
            ASSERT_TRUE(after.init(path));
        }
        EXPECT_GT(number, 3) << "hardly a call failed";
    }
}

} // namespace
} // namespace velnor::testing
