#include "platform/Clock.h"
#include "platform/LoadedImages.h"
#include "platform/Process.h"
#include "platform/SystemQueries.h"
#include "platform/system/KernelText.h"
#include "testing/Testing.h"

#include <cerrno>
#include <chrono>
#include <pwd.h>
#include <sys/utsname.h>
#include <unistd.h>

// The kernel's release and the user's entry, where a test says what they are.
static const char* gRelease = nullptr;
static const char* gComment = nullptr;

extern "C" __attribute__((visibility("default"))) int uname(utsname* names) noexcept {
    const auto real = reinterpret_cast<decltype(&uname)>(dlsym(RTLD_NEXT, "uname"));
    const int result = real(names);
    if (gRelease != nullptr) {
        std::snprintf(names->release, sizeof names->release, "%s", gRelease);
    }
    return result;
}

extern "C" __attribute__((visibility("default"))) int
getpwuid_r(uid_t user, passwd* entry, char* buffer, size_t size, passwd** found) {
    const auto real = reinterpret_cast<decltype(&getpwuid_r)>(dlsym(RTLD_NEXT, "getpwuid_r"));
    const int result = real(user, entry, buffer, size, found);
    if (gComment != nullptr && result == 0) {
        static char login[] = "ada";
        entry->pw_name = login;
        entry->pw_gecos = const_cast<char*>(gComment);
    }
    return result;
}

namespace velnor::testing {
namespace {

namespace fs = std::filesystem;

UInt64 Whole(UnsignedWide wide) {
    return (UInt64{wide.hi} << 32) | wide.lo;
}

TEST(Clock, AllClocksTellTheSameMonotonicTime) {
    const auto steady = [] {
        return static_cast<UInt64>(std::chrono::steady_clock::now().time_since_epoch().count());
    };
    UnsignedWide microseconds;
    const UInt64 first = steady();
    Microseconds(&microseconds);
    const UInt64 ticks = mach_absolute_time();
    const UInt64 last = steady();
    const AbsoluteTime absolute{static_cast<UInt32>(ticks), static_cast<UInt32>(ticks >> 32)};
    EXPECT_THAT(Whole(AbsoluteToNanoseconds(absolute)), AllOf(Ge(first), Le(last)));
    EXPECT_THAT(Whole(microseconds), AllOf(Ge(first / 1000), Le(last / 1000)));
}

TEST(SystemQueries, NamedValuesComeInTheirWidthOrFail) {
    SInt32 number = -1;
    size_t length = sizeof number;
    ASSERT_EQ(sysctlbyname("hw.activecpu", &number, &length, nullptr, 0), 0);
    EXPECT_EQ(number, sysconf(_SC_NPROCESSORS_ONLN));
    for (const char* name : {"mmx", "sse", "sse2", "sse3"}) {
        const std::string flag = std::string("hw.optional.") + name;
        ASSERT_EQ(sysctlbyname(flag.c_str(), &number, &length, nullptr, 0), 0) << name;
        const std::string kernel = ReadFile("/proc/cpuinfo");
        const std::string word =
            std::string(name) == "sse3" ? " pni " : " " + flag.substr(12) + " ";
        EXPECT_EQ(number != 0, kernel.find(word) != std::string::npos) << name;
    }
    UInt64 clock = 0;
    length = sizeof clock;
    if (sysctlbyname("hw.cpufrequency", &clock, &length, nullptr, 0) == 0) {
        EXPECT_THAT(clock, AllOf(Ge(100'000'000U), Le(20'000'000'000U)));
    } else {
        EXPECT_EQ(errno, ENOENT);
    }

    length = 2;
    EXPECT_EQ(sysctlbyname("hw.activecpu", &number, &length, nullptr, 0), -1);
    EXPECT_EQ(errno, ENOMEM);
    EXPECT_EQ(sysctlbyname("hw.activecpu", nullptr, &length, nullptr, 0), 0);
    EXPECT_EQ(length, sizeof number);
    for (const char* name : {"hw.none", "hw.optional.", "hw.optional.avx", ""}) {
        EXPECT_EQ(sysctlbyname(name, &number, &length, nullptr, 0), -1) << name;
        EXPECT_EQ(errno, ENOENT) << name;
    }
    EXPECT_EQ(sysctlbyname("hw.activecpu", &number, &length, &number, 4), -1);
}

TEST(SystemQueries, KernelTextsAreReadWithCare) {
    EXPECT_EQ(ClockOfCpuInfo("processor\t: 0\ncpu MHz\t\t: 2399.998\ncpu MHz\t\t: 800.0\n"),
              2'399'998'000U);
    for (const char* text :
         {"", "cpu MHz", "cpu MHz\t: 0.000\n", "cpu MHz\t: -5\n", "cpu MHz\t: fast\n",
          "cpu MHz\t: inf\n", "cpu MHz\t: nan\n", "xcpu MHz\t: 800\n", "cpu MHz max: 800\n"}) {
        EXPECT_EQ(ClockOfCpuInfo(text), std::nullopt) << text;
    }
    EXPECT_EQ(MemoryField("MemTotal: 9 kB\nMemFreeX: 8 kB\nMemFree:    7 kB\n", "MemFree"), 7168U);
    EXPECT_EQ(MemoryField("MemTotal: 9 kB\n", "MemFree"), std::nullopt);
}

TEST(SystemQueries, MemoryIsWhatTheKernelSays) {
    host_basic_info_data_t host{};
    mach_msg_type_number_t count = HOST_BASIC_INFO_COUNT;
    ASSERT_EQ(host_info(mach_host_self(), HOST_BASIC_INFO, &host, &count), KERN_SUCCESS);
    const auto total = MemoryField(ReadFile("/proc/meminfo"), "MemTotal");
    ASSERT_TRUE(total);
    EXPECT_NEAR(static_cast<double>(host.max_mem), static_cast<double>(*total),
                static_cast<double>(*total) / 100);

    vm_statistics_data_t memory{};
    count = HOST_VM_INFO_COUNT;
    ASSERT_EQ(host_statistics(mach_host_self(), HOST_VM_INFO, &memory, &count), KERN_SUCCESS);
    EXPECT_EQ(count, static_cast<mach_msg_type_number_t>(HOST_VM_INFO_COUNT));
    const auto unused = MemoryField(ReadFile("/proc/meminfo"), "MemFree").value_or(0);
    EXPECT_THAT(memory.free_count * vm_page_size, AllOf(Ge(unused / 4), Le(4 * unused)));

    count = HOST_VM_INFO_COUNT - 1;
    EXPECT_EQ(host_statistics(mach_host_self(), HOST_VM_INFO, &memory, &count), KERN_FAILURE);
    count = 100;
    EXPECT_EQ(host_statistics(mach_host_self(), HOST_BASIC_INFO, &memory, &count), KERN_FAILURE);
    EXPECT_EQ(host_info(mach_host_self(), HOST_VM_INFO, &host, &count), KERN_FAILURE);
}

TEST(SystemQueries, TheSystemVersionIsTheKernelsRelease) {
    for (const auto& [release, major, minor, fix] :
         Rows<const char*, int, int, int>{{"6.12.345-amd64", 6, 12, 345},
                                          {"10.0", 10, 0, 0},
                                          {"7-rc1.5", 7, 0, 0},
                                          {"x.1.2", 0, 0, 0}}) {
        gRelease = release;
        SInt32 numbers[3] = {-1, -1, -1};
        EXPECT_EQ(Gestalt(gestaltSystemVersionMajor, &numbers[0]), noErr);
        EXPECT_EQ(Gestalt(gestaltSystemVersionMinor, &numbers[1]), noErr);
        EXPECT_EQ(Gestalt(gestaltSystemVersionBugFix, &numbers[2]), noErr);
        EXPECT_THAT(numbers, ElementsAre(major, minor, fix)) << release;
    }
    gRelease = nullptr;
    SInt32 number = -1;
    EXPECT_EQ(Gestalt(VELNOR_FOUR_CHAR_CODE('n', 'o', 'n', 'e'), &number), gestaltUndefSelectorErr);
    EXPECT_EQ(number, 0);
}

TEST(LoadedImages, ImagesAreFoundByTheirOwnAddresses) {
    const auto* self = PlatformImageHeaderForAddress(reinterpret_cast<const void*>(&Whole));
    const auto* library = PlatformImageHeaderForAddress(reinterpret_cast<const void*>(&CFRetain));
    ASSERT_NE(self, nullptr);
    ASSERT_NE(library, nullptr);
    EXPECT_EQ(self, _dyld_get_image_header(0));
    EXPECT_EQ(_dyld_get_image_name(0), fs::canonical("/proc/self/exe"));
    EXPECT_EQ(std::string_view(reinterpret_cast<const char*>(library), 4), "\177ELF");
    std::vector<std::string> found;
    for (UInt32 i = 0; i < _dyld_image_count(); ++i) {
        if (_dyld_get_image_header(i) == library) {
            found.push_back(fs::path(_dyld_get_image_name(i)).filename());
        }
    }
    EXPECT_THAT(found, ElementsAre(StartsWith("libvelnorplatform.so")));
    EXPECT_EQ(_dyld_get_image_name(_dyld_image_count()), nullptr);
    EXPECT_EQ(_dyld_get_image_header(_dyld_image_count()), nullptr);
    int onTheStack = 0;
    EXPECT_EQ(PlatformImageHeaderForAddress(&onTheStack), nullptr);
}

TEST(LoadedImages, AnImageLoadedByARelativePathHasAnAbsoluteName) {
    const TempFolder folder;
    fs::copy_file(VELNOR_TEST_COMPONENT, folder / "relative.so");
    const auto before = fs::current_path();
    fs::current_path(folder.Path());
    void* const image = dlopen("./relative.so", RTLD_NOW | RTLD_LOCAL);
    fs::current_path(before);
    ASSERT_NE(image, nullptr) << dlerror();
    const auto* header = PlatformImageHeaderForAddress(dlsym(image, "TestEntry"));
    for (const bool isThere : {true, false}) {
        std::string name;
        for (UInt32 i = 1; i < _dyld_image_count(); ++i) {
            name = _dyld_get_image_header(i) == header ? _dyld_get_image_name(i) : name;
        }
        EXPECT_EQ(name, folder / "relative.so");
        EXPECT_EQ(std::filesystem::remove(folder / "relative.so"), isThere);
    }
    dlclose(image);
}

std::string ProcessName() {
    const ProcessSerialNumber psn{0, kCurrentProcess};
    CFRef<CFStringRef> name;
    const OSStatus status = CopyProcessName(&psn, name.Out());
    return status == noErr ? Text(name.Get()) : "error " + std::to_string(status);
}

TEST(Process, TheNameIsTheWholeBaseNameOfTheExecutable) {
    const auto program = fs::canonical("/proc/self/exe");
    EXPECT_EQ(ProcessName(), program.filename());
    PlatformSetProcessName("Studio 2.5");
    EXPECT_EQ(ProcessName(), "Studio 2.5");
    PlatformSetProcessName("");
    EXPECT_EQ(ProcessName(), "error -600");
    PlatformSetProcessName(nullptr);
    EXPECT_EQ(ProcessName(), program.filename());
    const ProcessSerialNumber other{0, 7};
    CFStringRef name = nullptr;
    EXPECT_EQ(CopyProcessName(&other, &name), paramErr);
}

TEST(Process, ADeletedExecutableAndALegacyNameHaveTheirNames) {
    if (const char* self = std::getenv("VELNOR_TEST_PROGRAM")) {
        EXPECT_TRUE(fs::remove(self));
        EXPECT_EQ(ProcessName(), std::getenv("VELNOR_TEST_NAME"));
        return;
    }
    const TempFolder folder;
    for (const auto& [file, name] : Rows<const char*, const char*>{
             {"A host with a long name 2.5", "A host with a long name 2.5"},
             {"caf\x8E", "caf\u00E9"}}) {
        const std::string program = folder / file;
        fs::copy_file("/proc/self/exe", program);
        const ScopedEnv path("VELNOR_TEST_PROGRAM", program.c_str());
        const ScopedEnv expected("VELNOR_TEST_NAME", name);
        EXPECT_EXIT(execl(program.c_str(), "argv0", "--gtest_brief=1",
                          "--gtest_filter=Process.ADeletedExecutable*", nullptr),
                    ExitedWithCode(0), "");
    }
}

TEST(Process, TheUserIsTheOneOfTheSystemsDatabase) {
    const CFRef<CFStringRef> login(CSCopyUserName(true));
    const CFRef<CFStringRef> full(CSCopyUserName(false));
    const ScopedEnv other("LOGNAME", "somebody");
    if (const passwd* entry = getpwuid(getuid())) {
        EXPECT_EQ(Text(login.Get()), entry->pw_name);
    }
    EXPECT_NE(Text(full.Get()), "");
    for (const auto& [comment, expected] : Rows<const char*, const char*>{
             {"Lady & Lovelace,room 1,&", "Lady Ada Lovelace"}, {",room 1", "ada"}, {"", "ada"}}) {
        gComment = comment;
        EXPECT_EQ(Text(CFRef(CSCopyUserName(false)).Get()), expected);
        EXPECT_EQ(Text(CFRef(CSCopyUserName(true)).Get()), "ada");
    }
    gComment = nullptr;
}

} // namespace
} // namespace velnor::testing
