#include "support/Files.h"
#include "support/FileCopy.h"
#include "support/Folders.h"
#include "support/PathStrings.h"
#include "support/UnicodeEncoding.h"

#include "platform/Process.h"
#include "platform/tests/TempHome.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>
#include <utime.h>

namespace {

namespace fs = std::filesystem;
using velnor::test::ReadFile;
using velnor::test::ScopedEnv;
using velnor::test::TempFolder;
using velnor::test::TempHome;
using velnor::test::WriteFile;

TEST(PathStrings, SplitAtTheLastSeparator) {
    struct Case {
        const char* path;
        const char* folder;
        const char* file;
        const char* stripped;
        const char* extension;
        bool relative;
    };
    const Case cases[] = {
        {"", "", "", "", "", true},
        {"file.txt", ".", "file.txt", "file", "txt", true},
        {"/file.txt", "", "file.txt", "/file", "txt", false},
        {"a/b/c", "a/b", "c", "a/b/c", "", true},
        {"dir/", "dir", "", "dir/", "", true},
        {"archive.tar.gz", ".", "archive.tar.gz", "archive.tar", "gz", true},
        {"x.", ".", "x.", "x", "", true},
    };
    for (const Case& expected : cases) {
        EXPECT_EQ(getPathFromFile(expected.path), expected.folder) << expected.path;
        EXPECT_EQ(getFileFromPath(expected.path), expected.file) << expected.path;
        EXPECT_EQ(stripFileExtension(expected.path), expected.stripped) << expected.path;
        EXPECT_EQ(getFileExtension(expected.path), expected.extension) << expected.path;
        EXPECT_EQ(pathIsRelative(expected.path), expected.relative) << expected.path;
    }
}

TEST(PathStrings, CleansAndConverts) {
    std::string name = "a/b:c d?\\*><|\xC3\xA9.";
    cleanPathName(name);
    EXPECT_EQ(name, "a_b_c_d______\xC3\xA9.");
    std::string posix;
    PToPosix("dir\\sub\\file", posix);
    EXPECT_EQ(posix, "dir/sub/file");
    PToPosix(std::string(3000, '\\'), posix);
    EXPECT_EQ(posix, std::string(2047, '/'));
}

TEST(UnicodeEncoding, TheFirstMarkInTheTableWins) {
    const TempFolder folder;
    struct Case {
        std::string bytes;
        UNICODE_ENCODING encoding;
        unsigned long length;
    };
    const Case cases[] = {
        {"\xEF\xBB\xBFx", UTF_8, 3},
        {"\xFE\xFFxx", UTF_16_BE, 2},
        {std::string("\xFF\xFE\0\0", 4), UTF_16_LE, 2},
        {std::string("\0\0\xFE\xFF", 4), UTF_32_BE, 4},
        {"\x2B\x2F\x76x", UTF_7, 3},
        {"\xF7\x64\x4Cx", UTF_1, 3},
        {"\xDD\x73\x66\x73", UTF_EBCDIC, 4},
        {"\x0E\xFE\xFFx", SCSU, 3},
        {"\xFB\xEE\x28x", BOCU_1, 3},
        {"\xEF\xBB\xBF", NO_BOM, 77},
        {"\xFE\xFFx", NO_BOM, 77},
        {"text", NO_BOM, 77},
        {"", NO_BOM, 77},
    };
    for (const Case& expected : cases) {
        UNICODE_ENCODING encoding = UTF_8;
        unsigned long length = 77;
        const std::string path = WriteFile(folder / "marked", expected.bytes);
        EXPECT_EQ(getUnicodeEncoding(path, encoding, length), expected.encoding != NO_BOM);
        EXPECT_EQ(encoding, expected.encoding);
        EXPECT_EQ(length, expected.length);
    }
    UNICODE_ENCODING encoding = UTF_8;
    unsigned long length = 77;
    EXPECT_FALSE(getUnicodeEncoding(folder / "none", encoding, length));
    EXPECT_EQ(encoding, NO_BOM);
}

TEST(Files, ExistAsAnyKind) {
    const TempFolder folder;
    const std::string file = WriteFile(folder / "caf\xC3\xA9", "12345");
    for (const std::string& path : {file, folder.Path()}) {
        EXPECT_TRUE(fileExists(path, true)) << path;
        EXPECT_TRUE(fileExists(path, false)) << path;
        EXPECT_TRUE(directoryExists(path)) << path;
    }
    EXPECT_FALSE(fileExists(folder / "none", true));
    EXPECT_FALSE(directoryExists(""));
}

TEST(Files, SizeAndDate) {
    const TempFolder folder;
    const std::string file = WriteFile(folder / "f", "12345");
    EXPECT_EQ(fileSize(file), 5U);
    EXPECT_EQ(fileSize(WriteFile(folder / "empty", "")), 0U);
    EXPECT_EQ(fileSize(folder / "none"), 0U);
    EXPECT_EQ(fileSize(folder.Path()), 0U);
    ASSERT_EQ(truncate(file.c_str(), off_t{5} << 30), 0);
    EXPECT_EQ(fileSize(file), 4294967295U);

    const ScopedEnv zone("TZ", "UTC0");
    const utimbuf times = {0, 1794855247};
    ASSERT_EQ(utime(file.c_str(), &times), 0);
    EXPECT_EQ(fileDate(file), 1794855247);
    EXPECT_EQ(getFileTimeDetails(file), "mtime : Mon Nov 16 18:54:07 2026");
    EXPECT_EQ(fileDate(folder / "none"), 0);
    EXPECT_EQ(getFileTimeDetails(folder / "none"), "mtime : Thu Jan  1 00:00:00 1970");
}

TEST(Files, DeleteReportsWhatIsMissing) {
    const TempFolder folder;
    const std::string file = WriteFile(folder / "f", "");
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
    EXPECT_EQ(PCopyFile(source, existing, true), kCopyDone);
    EXPECT_EQ(ReadFile(existing), "new");
    EXPECT_EQ(PCopyFile(source, folder / "n\xC3\xA4me: x", false), kCopyDone);
    EXPECT_EQ(ReadFile(folder / "n\xC3\xA4me: x"), "new");
    EXPECT_EQ(ReadFile(source), "new");
    EXPECT_EQ(PCopyFile(folder / "none", existing, true), kCopyFailed);
    EXPECT_EQ(PCopyFile(source, folder / "none/x", true), kCopyFailed);
    EXPECT_EQ(PCopyFile(source, folder / "", true), kCopyFailed);
    EXPECT_EQ(PCopyFile(source, folder / "\xFF", true), kCopyFailed);
    if (geteuid() != 0) {
        fs::create_directory(folder / "closed");
        chmod((folder / "closed").c_str(), 0500);
        EXPECT_EQ(PCopyFile(source, folder / "closed/x", true), kCopyRefused);
    }
}

TEST(Folders, UserPathIsMadeOnceAndKept) {
    const TempHome home;
    const std::string path = home.DataHome() + "/Tavo/Tarn 12";
    EXPECT_EQ(setUserPathVendorProduct("Tavo", "Tarn 12"), path);
    ASSERT_TRUE(fs::is_directory(path));
    const auto before = fs::last_write_time(home.DataHome() + "/Tavo");
    EXPECT_EQ(setUserPathVendorProduct("Tavo", "Tarn 12"), path);
    EXPECT_EQ(fs::last_write_time(home.DataHome() + "/Tavo"), before);
}

TEST(Folders, NamesThatNoFolderCanHaveMakeNothing) {
    const TempHome home;
    WriteFile(home.DataHome() + "/taken", "");
    for (const std::string& name :
         {std::string("Caf\xC3\xA9"), std::string(256, 'x'), std::string(), std::string("a/b"),
          std::string(".."), std::string("taken")})
        EXPECT_EQ(setUserPathVendorProduct(name, "product"), "") << name;
    EXPECT_EQ(setUserPathVendorProduct("vendor", std::string(256, 'x')), "");
    EXPECT_FALSE(fs::exists(home.DataHome() + "/vendor"));
    EXPECT_NE(setUserPathVendorProduct(std::string(255, 'v'), std::string(255, 'p')), "");
}

TEST(Folders, OnesThatDoNotExistAreEmptyAndNotMade) {
    const TempHome home;
    EXPECT_EQ(getUserPath(), home.DataHome());
    EXPECT_EQ(getUserDesktop(), "");
    fs::create_directory(home.Home() + "/Desktop");
    EXPECT_EQ(getUserDesktop(), home.Home() + "/Desktop");
    fs::remove_all(home.DataHome());
    EXPECT_EQ(getUserPath(), "");
    EXPECT_EQ(setUserPathVendorProduct("vendor", "product"), "");
    EXPECT_FALSE(fs::exists(home.DataHome()));
}

TEST(Folders, ProcessNameMayTakeTwoBytesPerUnit) {
    EXPECT_EQ(PGetCurrentApplicationPath(nullptr), "support_tests");
    const std::pair<const char*, const char*> cases[] = {
        {"H\xC3\xB6st 1.2", "H\xC3\xB6st 1.2"},
        {"\xC3\xB6\xC3\xB6", "\xC3\xB6\xC3\xB6"},
        {"\xE2\x82\xAC\xE2\x82\xAC", ""},
        {"", ""},
    };
    for (const auto& [name, expected] : cases) {
        PlatformSetProcessName(name);
        EXPECT_EQ(PGetCurrentApplicationPath(nullptr), expected) << name;
    }
    PlatformSetProcessName(nullptr);
}

TEST(Folders, FixedAnswers) {
    EXPECT_EQ(getTempDir(), "/tmp");
    EXPECT_FALSE(getUserName().empty());
    const TempFolder folder;
    EXPECT_EQ(PCreateDir(folder / "x"), 2);
    EXPECT_FALSE(fs::exists(folder / "x"));
}

} // namespace
