#include "support/System.h"

#include "platform/SystemQueries.h"
#include "support/Random.h"
#include "support/Timing.h"
#include "testing/LogFile.h"
#include "testing/Testing.h"

#include <unistd.h>

// Sleeps that a test writes down instead of sleeping; the third is interrupted.
static std::vector<useconds_t>* gSleeps = nullptr;

extern "C" int usleep(useconds_t time) {
    if (gSleeps == nullptr) {
        const timespec wait = {time / 1000000, static_cast<long>(time % 1000000) * 1000};
        return nanosleep(&wait, nullptr);
    }
    gSleeps->push_back(time);
    return gSleeps->size() == 3 ? -1 : 0;
}

namespace velnor::testing {
namespace {

// init works once per process: the case has a process of its own.
void checkStart() {
    dup2(STDERR_FILENO, STDOUT_FILENO);
    double seconds = 1;
    System::getTimefromCPU(seconds);
    EXPECT_EQ(seconds, 0) << "no ticks are known before the start";
    const LogFile log;
    System::init(static_cast<TimerMethod_t>(7));
    uint64_t frequency = 0;
    std::size_t size = sizeof frequency;
    const bool hasSpeed = sysctlbyname("hw.cpufrequency", &frequency, &size, nullptr, 0) == 0;
    const std::string number = " (0|1|0\\.[0-9]+|[0-9.]+e-[0-9]+)";
    std::vector<Matcher<std::string>> expected = {
        "E:TIMER METHOD Unknown !! 7",
        MatchesRegex("I:Detecting CPU speed: [0-9.]+(e\\+[0-9]+)? Mhz"),
        "I:Active CPUs : " + std::to_string(System::activeCores),
        "I:MMX: 1 SSE: 1 SSE2: 1 SSE3: 1",
        MatchesRegex("I:Mac OS X : [0-9]+\\.[0-9]+\\.[0-9]+"),
        MatchesRegex("I:Testing random numbers:" + number + number + number + number),
        "I:Math assessments--------",
        "I:Math assessments passed",
        "I:Initialising System Done!"};
    if (!hasSpeed) {
        expected.insert(expected.begin() + 1, "E:sysctlbyname - hw.cpufrequency failed");
    }
    EXPECT_EQ(System::TimerMethod, TIMER_MACH_ABSOLUTE_TIME);
    EXPECT_EQ(System::SecondsPerCPUTick, 1e-9);
    EXPECT_EQ(System::CpuSpeed > 0, hasSpeed);
    EXPECT_FALSE(System::ppc_AltiVec_Support);
    EXPECT_EQ(mti, 624);

    System::init(TIMER_MICROSECONDS);
    EXPECT_EQ(System::TimerMethod, TIMER_MACH_ABSOLUTE_TIME);
    EXPECT_THAT(log.messages(), ElementsAreArray(expected));

    for (const auto method : {TIMER_MACH_ABSOLUTE_TIME, TIMER_MICROSECONDS}) {
        System::TimerMethod = method;
        const double before = PTimeMilli() / 1000;
        System::getTimefromCPU(seconds);
        EXPECT_GE(seconds, before - 1e-6);
        EXPECT_LE(seconds, PTimeMilli() / 1000 + 1e-6);
    }
}

TEST(System, StartsOnceAndReportsEachFinding) {
    EXPECT_EXIT((checkStart(), _exit(::testing::Test::HasFailure() ? 1 : 0)), ExitedWithCode(0),
                "");
}

TEST(System, MemoryReportIsOneMessage) {
    System::MemoryStat stat{};
    System::getMemStats(stat);
    EXPECT_GT(stat.total, stat.free);
    EXPECT_GT(stat.free, 0U);
    EXPECT_EQ(System::getMemFree(), -1);

    const LogFile log;
    System::logMemoryUsage();
    const auto line = [](const std::string& kind) {
        return AllOf(SizeIs(63),
                     MatchesRegex(" +[0-9]+ " + kind + " Mbytes of physical memory\\."));
    };
    EXPECT_THAT(log.messages(), ElementsAre("I:", "Current Memory footprint:", line("total"),
                                            line("free "), "", ""));
}

TEST(Timing, ClocksCountTheSameTimeInTheirUnits) {
    const uint64_t before = myMS();
    const uint64_t nano = cpuTick();
    const double milli = PTimeMilli();
    const uint64_t after = myMS();
    EXPECT_LE(before, nano / 1000);
    EXPECT_LE(static_cast<double>(nano / 1000), milli * 1000 + 1);
    EXPECT_LE(milli * 1000, static_cast<double>(after) + 1);
    EXPECT_EQ(PmilliSleep(5), 0);
    EXPECT_GE(myMS() - after, 5000U);
}

TEST(Timing, LongSleepsAreCutIntoShortOnesUntilOneIsInterrupted) {
    for (const auto& [ms, result, sleeps] : Rows<unsigned long, int, std::vector<useconds_t>>{
             {1000000, 0, {1000000000}},
             {1000001, 0, {1000000000, 1000}},
             {5000000, -1, {1000000000, 1000000000, 1000000000}}}) {
        std::vector<useconds_t> slept;
        gSleeps = &slept;
        EXPECT_EQ(PmilliSleep(ms), result);
        gSleeps = nullptr;
        EXPECT_EQ(slept, sleeps);
    }
}

} // namespace
} // namespace velnor::testing
