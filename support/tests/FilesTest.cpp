#include "support/Files.h"

#include "platform/Process.h"
#include "support/FileCopy.h"
#include "support/Folders.h"
#include "support/UnicodeEncoding.h"
#include "testing/SystemFault.h"
#include "testing/Testing.h"

#include <unistd.h>
#include <utime.h>

namespace velnor::testing {
namespace {

namespace fs = std::filesystem;
using namespace std::string_literals;

TEST(UnicodeEncoding, TheFirstMarkInTheTableWins) {
    const TempFolder folder;
    UNICODE_ENCODING encoding = UTF_8;
    for (const auto& [bytes, expected, expectedLength] :
         Rows<std::string, UNICODE_ENCODING, unsigned long>{{"\xEF\xBB\xBFx", UTF_8, 3},
                                                            {"\xFE\xFFxx", UTF_16_BE, 2},
                                                            {"\xFF\xFE\0\0"s, UTF_16_LE, 2},
                                                            {"\0\0\xFE\xFF"s, UTF_32_BE, 4},
                                                            {"\x2B\x2F\x76x", UTF_7, 3},
                                                            {"\xF7\x64\x4Cx", UTF_1, 3},
                                                            {"\xDD\x73\x66\x73", UTF_EBCDIC, 4},
                                                            {"\x0E\xFE\xFFx", SCSU, 3},
                                                            {"\xFB\xEE\x28x", BOCU_1, 3},
                                                            {"\xEF\xBB\xBF", NO_BOM, 77},
                                                            {"\xFE\xFFx", NO_BOM, 77},
                                                            {"text", NO_BOM, 77}}) {
        unsigned long length = 77;
        const std::string path = WriteFile(folder / "marked", bytes);
        EXPECT_EQ(getUnicodeEncoding(path, encoding, length), expected != NO_BOM);
        EXPECT_EQ(encoding, expected);
        EXPECT_EQ(length, expectedLength);
        EXPECT_FALSE(getUnicodeEncoding(folder / "none", encoding, length));
        EXPECT_EQ(encoding, NO_BOM);
    }
}

TEST(Files, AreLookedAtWhateverTheirKind) {
    const TempFolder folder;
    const std::string file = WriteFile(folder / "caf\xC3\xA9", "12345");
    for (const std::string& path : {file, folder.Path()}) {
        EXPECT_TRUE(fileExists(path, true) && fileExists(path, false) && directoryExists(path));
    }
    EXPECT_FALSE(fileExists(folder / "none", true) || directoryExists(""));
    EXPECT_EQ(fileSize(file), 5U);
    EXPECT_EQ(fileSize(folder / "none") + fileSize(folder.Path()), 0U);
    ASSERT_EQ(truncate(file.c_str(), off_t{5} << 30), 0);
    EXPECT_EQ(fileSize(file), 4294967295U);

    const ScopedEnv zone("TZ", "UTC0");
    const utimbuf times = {0, 1794855247};
    ASSERT_EQ(utime(file.c_str(), &times), 0);
    EXPECT_EQ(fileDate(file), 1794855247);
    EXPECT_EQ(getFileTimeDetails(file), "mtime : Mon Nov 16 18:54:07 2026");
    EXPECT_EQ(getFileTimeDetails(folder / "none"), "mtime : Thu Jan  1 00:00:00 1970");
    EXPECT_EQ(PDeleteFile(file), 0);
    EXPECT_EQ(PDeleteFile(file), -1);
}

TEST(Files, LegacyTextBecomesUtf8UnlessItIsTooLong) {
    EXPECT_EQ(localToFileSystem("caf\x8E"), "caf\xC3\xA9");
    EXPECT_EQ(localToFileSystem(std::string(1023, '\x8E')).size(), 2046U);
    EXPECT_EQ(localToFileSystem(std::string(1024, '\x8E')), std::string(1024, '\x8E'));
}

TEST(PCopyFile, HasThreeResults) {
    const TempFolder folder;
    const std::string source = WriteFile(folder / "source", "new");
    const std::string existing = WriteFile(folder / "existing", "old");
    EXPECT_EQ(PCopyFile(source, existing, false), kCopyRefused);
    EXPECT_EQ(ReadFile(existing), "old");
    for (const std::string& target : {existing, folder / "n\xC3\xA4me: x"}) {
        EXPECT_EQ(PCopyFile(source, target, true), kCopyDone);
        EXPECT_EQ(ReadFile(target) + ReadFile(source), "newnew");
    }
    EXPECT_EQ(PCopyFile(folder / "none", existing, true), kCopyFailed);
    for (const char* target : {"none/x", "", "\xFF"}) {
        EXPECT_EQ(PCopyFile(source, folder / target, true), kCopyFailed) << target;
    }
    EXPECT_EQ(PCopyFile(source, "/proc", false), kCopyRefused) << "the root folder is a folder too";
    fs::create_directory(folder / "closed");
    fs::permissions(folder.Path(), fs::perms(0755));
    fs::permissions(folder / "closed", fs::perms(0555));
    const uid_t self = geteuid();
    EXPECT_EQ(seteuid(self == 0 ? 65534 : self), 0);
    EXPECT_EQ(PCopyFile(source, folder / "closed/x", true), kCopyRefused);
    EXPECT_EQ(seteuid(self), 0);
}

TEST(Folders, UserPathIsMadeOnceAndOnlyForNamesThatFoldersCanHave) {
    const TempHome home;
    WriteFile(home.DataHome() + "/taken", "");
    for (const std::string& name :
         {"Caf\xC3\xA9"s, std::string(256, 'x'), ""s, "a/b"s, ".."s, "taken"s}) {
        EXPECT_EQ(setUserPathVendorProduct(name, "product"), "") << name;
    }
    EXPECT_EQ(setUserPathVendorProduct("Tavo", std::string(256, 'x')), "");
    EXPECT_FALSE(fs::exists(home.DataHome() + "/Tavo"));
    const std::string path = home.DataHome() + "/Tavo/Tarn 12";
    EXPECT_EQ(setUserPathVendorProduct("Tavo", "Tarn 12"), path);
    ASSERT_TRUE(fs::is_directory(path));
    const auto before = fs::last_write_time(home.DataHome() + "/Tavo");
    EXPECT_EQ(setUserPathVendorProduct("Tavo", "Tarn 12"), path);
    EXPECT_EQ(fs::last_write_time(home.DataHome() + "/Tavo"), before);
    EXPECT_NE(setUserPathVendorProduct(std::string(255, 'v'), std::string(255, 'p')), "");
}

TEST(Folders, OneThatAnotherProcessMakesFirstIsFound) {
    const TempHome home;
    const std::string path = home.DataHome() + "/Tavo/Tarn 12";
    EXPECT_EQ(
        faults::runWatched([&] { return setUserPathVendorProduct("Tavo", "Tarn 12") != path; },
                           [&](pid_t, const user_regs_struct& registers) {
                               if (registers.*faults::kNumber == SYS_mkdir) {
                                   fs::create_directories(path);
                               }
                               return 0;
                           }),
        canMakeFaults() ? 0 : 255);
}

TEST(Folders, OnesThatDoNotExistAreEmptyAndNotMade) {
    const TempHome home;
    EXPECT_EQ(getUserPath(), home.DataHome());
    EXPECT_EQ(getUserDesktop(), "");
    fs::create_directory(home.Home() + "/Desktop");
    EXPECT_EQ(getUserDesktop(), home.Home() + "/Desktop");
    fs::remove_all(home.DataHome());
    EXPECT_EQ(getUserPath() + setUserPathVendorProduct("vendor", "product"), "");
    EXPECT_FALSE(fs::exists(home.DataHome()));
    EXPECT_FALSE(getUserName().empty());
}

TEST(Folders, ProcessNameMayTakeTwoBytesPerUnit) {
    EXPECT_EQ(PGetCurrentApplicationPath(nullptr), "support_tests");
    for (const auto& [name, expected] :
         Rows<const char*, const char*>{{"\xC3\xB6\xC3\xB6", "\xC3\xB6\xC3\xB6"},
                                        {"\xE2\x82\xAC\xE2\x82\xAC", ""},
                                        {"", ""}}) {
        PlatformSetProcessName(name);
        EXPECT_EQ(PGetCurrentApplicationPath(nullptr), expected) << name;
    }
    PlatformSetProcessName(nullptr);
}

} // namespace
} // namespace velnor::testing
