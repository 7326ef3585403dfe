#include "support/System.h"

#include "platform/SystemQueries.h"
#include "support/JoinedText.h"
#include "support/LogLine.h"
#include "support/Random.h"
#include "support/Timing.h"

#include <cstdlib>
#include <ctime>
#include <iomanip>

namespace velnor {

TimerMethod_t System::TimerMethod = TIMER_MACH_ABSOLUTE_TIME;
double System::CpuSpeed = 0;
double System::SecondsPerCPUTick = 0;
int System::activeCores = 0;
bool System::x86_MMX_Support = false;
bool System::x86_SSE_Support = false;
bool System::x86_SSE2_Support = false;
bool System::x86_SSE3_Support = false;
bool System::ppc_AltiVec_Support = false;

namespace {

constexpr double kHertzPerMegahertz = 1e6;
constexpr double kNanosecond = 1e-9;
constexpr double kNanosecondsPerMicrosecond = 1000;
constexpr uint64_t kMegabyte = 1048576;
constexpr int kMemoryFieldWidth = 30;

bool gFirstPass = true;

template <typename... Parts>
void logInformation(const Parts&... parts) {
    LogLine(LogSeverity::kInformation, joined(parts...));
}

template <typename... Parts>
void logError(const Parts&... parts) {
    LogLine(LogSeverity::kError, joined(parts...));
}

template <typename Number>
bool query(const char* name, Number& value) {
    std::size_t size = sizeof value;
    return sysctlbyname(name, &value, &size, nullptr, 0) == 0;
}

bool hasFeature(const char* name) {
    int32_t value = 0;
    return query(name, value) && value > 0;
}

SInt32 gestalt(OSType selector) {
    SInt32 response = 0;
    Gestalt(selector, &response);
    return response;
}

void setTimerMethod(TimerMethod_t method) {
    System::TimerMethod = method;
    switch (method) {
    case TIMER_MACH_ABSOLUTE_TIME:
        logInformation("TIMER METHOD: mach_absolute_time()");
        break;
    case TIMER_MICROSECONDS:
        logInformation("TIMER METHOD: Microseconds()");
        break;
    default:
        logError("TIMER METHOD Unknown !! ", static_cast<int>(method));
        System::TimerMethod = TIMER_MACH_ABSOLUTE_TIME;
    }
}

void logSystemVersion() {
    logInformation("Mac OS X : ", gestalt(gestaltSystemVersionMajor), '.',
                   gestalt(gestaltSystemVersionMinor), '.', gestalt(gestaltSystemVersionBugFix));
}

void seedRandomNumbers() {
    const std::time_t now = std::time(nullptr);
    std::srand(static_cast<unsigned>(now));
    Psrand(static_cast<unsigned long>(now));
    double drawn[4];
    for (double& value : drawn) {
        value = PUrand();
    }
    logInformation("Testing random numbers: ", drawn[0], ' ', drawn[1], ' ', drawn[2], ' ',
                   drawn[3]);
}

void assessMath() {
    logInformation("Math assessments--------");
    if (System::mathAssessments()) {
        logInformation("Math assessments passed");
    } else {
        logInformation("Math assessments FAILED!!!!");
    }
}

} // namespace

void System::init(TimerMethod_t method) {
    if (!gFirstPass) {
        return;
    }
    setTimerMethod(method);
    initCPUSpeed();
    checkCPUSupport();
    logSystemVersion();
    seedRandomNumbers();
    assessMath();
    logInformation("Initialising System Done!");
    gFirstPass = false;
}

void System::initCPUSpeed() {
    activeCores = 1;
    CpuSpeed = 0;
    uint64_t frequency = 0;
    if (query("hw.cpufrequency", frequency)) {
        CpuSpeed = static_cast<double>(frequency) / kHertzPerMegahertz;
    } else {
        logError("sysctlbyname - hw.cpufrequency failed");
    }
    SecondsPerCPUTick = kNanosecond;
    logInformation("Detecting CPU speed: ", CpuSpeed, " Mhz");
    if (int32_t cores = 0; query("hw.activecpu", cores)) {
        activeCores = cores;
    }
    logInformation("Active CPUs : ", activeCores);
}

void System::checkCPUSupport() {
    ppc_AltiVec_Support = false;
    x86_SSE3_Support = hasFeature("hw.optional.sse3");
    x86_SSE2_Support = hasFeature("hw.optional.sse2");
    x86_SSE_Support = hasFeature("hw.optional.sse");
    x86_MMX_Support = hasFeature("hw.optional.mmx");
    logInformation("MMX: ", x86_MMX_Support, " SSE: ", x86_SSE_Support, " SSE2: ", x86_SSE2_Support,
                   " SSE3: ", x86_SSE3_Support);
}

void System::getTimefromCPU(double& seconds) VELNOR_NONBLOCKING {
    const double nanoseconds = TimerMethod == TIMER_MICROSECONDS
                                   ? static_cast<double>(myMS()) * kNanosecondsPerMicrosecond
                                   : static_cast<double>(cpuTick());
    seconds = nanoseconds * SecondsPerCPUTick;
}

void System::getMemStats(MemoryStat& stat) {
    stat = {};
    const mach_port_t host = mach_host_self();
    vm_statistics_data_t memory{};
    mach_msg_type_number_t count = HOST_VM_INFO_COUNT;
    if (host_statistics(host, HOST_VM_INFO, &memory, &count) != KERN_SUCCESS) {
        return;
    }
    host_basic_info_data_t basic{};
    count = HOST_BASIC_INFO_COUNT;
    if (host_info(host, HOST_BASIC_INFO, &basic, &count) != KERN_SUCCESS) {
        return;
    }
    stat.total = basic.max_mem;
    stat.free = memory.free_count * vm_page_size;
}

int System::getMemFree() {
    return -1;
}

void System::logMemoryUsage() {
    MemoryStat stat{};
    getMemStats(stat);
    const auto row = std::setw(kMemoryFieldWidth);
    logInformation("\nCurrent Memory footprint:\n", row, stat.total / kMegabyte,
                   " total Mbytes of physical memory.\n", row, stat.free / kMegabyte,
                   " free  Mbytes of physical memory.\n", "\n");
}

} // namespace velnor
