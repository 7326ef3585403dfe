#include "platform/tests/SystemFault.h"
#include "support/LogLine.h"
#include "support/tests/LogFile.h"

#include <gtest/gtest.h>

namespace {

using namespace velnor::test;

TEST(LogFault, InAnyCallLosesLinesAndNothingElse) {
    if (!canMakeFaults())
        GTEST_SKIP() << "this system does not let a process trace its child";
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
                    velnor::LogLine(velnor::LogSeverity::kError, "line");
                    return 0;
                },
                folder.Path());
            met = run.met;
            ASSERT_EQ(run.status, 0);
            std::istringstream log(ReadFile(path));
            for (std::string line; std::getline(log, line);)
                ASSERT_TRUE(line.starts_with("I:") || line.starts_with("E:") || line == "@")
                    << line;
            std::filesystem::create_directories(folder.Path());
            ConsoleLogger after;
            ASSERT_TRUE(after.init(path));
        }
        EXPECT_GT(number, 3) << "hardly a call failed";
    }
}

} // namespace
