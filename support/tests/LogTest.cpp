#include "support/ConsoleLogger.h"
#include "support/LogLine.h"
#include "support/tests/LogFile.h"

#include "platform/tests/TempHome.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <locale>
#include <memory>
#include <pthread.h>
#include <thread>

namespace {

namespace fs = std::filesystem;
using testing::ContainsRegex;
using testing::MatchesRegex;
using velnor::LogLine;
using velnor::LogSeverity;
using velnor::test::ReadFile;
using velnor::test::TempFolder;
using velnor::test::WriteFile;

const std::string kSeparator(79, '-');

class Log : public testing::Test {
protected:
    std::size_t filesInFolder() const {
        return static_cast<std::size_t>(
            std::distance(fs::directory_iterator(mFolder.Path()), fs::directory_iterator()));
    }

    const TempFolder mFolder;
    const std::string mPath = mFolder / "x.log";
};

TEST_F(Log, HoldsHeaderLinesFooterAndTheMarkOfACleanClose) {
    {
        ConsoleLogger logger;
        EXPECT_TRUE(logger.init(mPath));
        EXPECT_TRUE(logger.good());
        LogLine(LogSeverity::kError, "first\nsecond");
    }
    EXPECT_EQ(g_pluginStream, nullptr);
    const std::string date = "[A-Z][a-z][a-z] [A-Z][a-z][a-z] [ 1-3][0-9] ";
    const std::string prefix =
        "I:" + std::to_string(static_cast<uintptr_t>(pthread_self())) + ":[1-9][0-9]*:";
    std::string error = prefix;
    error[0] = 'E';
    EXPECT_THAT(ReadFile(mPath),
                MatchesRegex(prefix + "g_pluginStream:0x[0-9a-f]+\n" + prefix + mPath +
                             " opened on: " + date +
                             "[0-9][0-9]_[0-9][0-9]_[0-9][0-9] [0-9]+ BUILD:Aug 12 2009\n" +
                             prefix + kSeparator + "\n" + error + "first\nsecond\n" + prefix +
                             kSeparator + "\n" + prefix + mPath + " closed on: " + date +
                             "[0-9][0-9]:[0-9][0-9]:[0-9][0-9] [0-9]+\n@"));
}

TEST_F(Log, OnlyAnUncleanNonEmptyPredecessorIsSaved) {
    const std::pair<const char*, bool> cases[] = {
        {"I:clean\n@", false}, {"", false}, {"@I:cut", true}, {"I:cut\n", true}};
    for (const auto& [content, saved] : cases) {
        const TempFolder folder;
        const std::string path = WriteFile(folder / "x.log", content);
        std::string copy;
        {
            ConsoleLogger logger;
            ASSERT_TRUE(logger.init(path));
        }
        for (const auto& entry : fs::directory_iterator(folder.Path())) {
            if (entry.path() != path)
                copy = entry.path();
        }
        EXPECT_EQ(!copy.empty(), saved) << content;
        EXPECT_EQ(ReadFile(path).find("I:c"), std::string::npos) << "the new log is not truncated";
        if (saved) {
            EXPECT_EQ(ReadFile(copy), content);
            EXPECT_THAT(copy, MatchesRegex(path + "_[A-Z][a-z][a-z] [A-Z][a-z][a-z] [ 1-3][0-9] "
                                                  "[0-9][0-9]_[0-9][0-9]_[0-9][0-9] [0-9]+\\.log"));
        }
    }
}

TEST_F(Log, InAFolderThatDoesNotExistRefusesAndDropsLines) {
    ConsoleLogger logger;
    EXPECT_FALSE(logger.init(mFolder / "none/x.log"));
    EXPECT_FALSE(logger.good());
    EXPECT_NE(g_pluginStream, nullptr);
    LogLine(LogSeverity::kError, "nowhere");
    EXPECT_EQ(filesInFolder(), 0U);
    EXPECT_TRUE(logger.init(mPath)) << "a logger can be opened again";
    EXPECT_THAT(ReadFile(mPath), ContainsRegex("opened on"));
}

TEST_F(Log, LinesWithoutALoggerAreDropped) {
    LogLine(LogSeverity::kInformation, "before");
    ConsoleLogger().good();
    auto logger = std::make_unique<ConsoleLogger>();
    ASSERT_TRUE(logger->init(mPath));
    logger.reset();
    const std::string closed = ReadFile(mPath);
    LogLine(LogSeverity::kInformation, "after");
    EXPECT_EQ(ReadFile(mPath), closed);
}

struct Grouped : std::numpunct<char> {
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\1"; }
};

TEST_F(Log, NumbersHaveNoGroupingInAnyLocale) {
    const std::locale before = std::locale::global(std::locale(std::locale(), new Grouped));
    ConsoleLogger logger;
    ASSERT_TRUE(logger.init(mPath));
    std::locale::global(before);
    EXPECT_THAT(ReadFile(mPath), MatchesRegex("I:[0-9]+:[0-9]+:g_pluginStream:0x[0-9a-f]+\n.*"));
}

TEST_F(Log, LinesOfTwoThreadsStayWhole) {
    constexpr int kLines = 500;
    ConsoleLogger logger;
    ASSERT_TRUE(logger.init(mPath));
    const auto write = [] {
        for (int i = 0; i < kLines; ++i)
            LogLine(LogSeverity::kInformation, std::string(100, 'x'));
    };
    std::thread other(write);
    write();
    other.join();
    const std::vector<std::string> lines = velnor::test::logMessages(mPath);
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "I" + std::string(100, 'x')), 2 * kLines);
}

} // namespace
