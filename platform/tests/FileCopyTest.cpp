#include "platform/FileCopy.h"
#include "platform/tests/Refs.h"
#include "platform/tests/TempFolder.h"
#include "platform/tests/Values.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <csignal>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>

namespace {

using namespace velnor::test;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

OSStatus Copy(const std::string& source, const std::string& folder, const char* name,
              UInt32 options = kFSFileOperationDefaultOptions) {
    const FSRef from = RefTo(source);
    const FSRef to = RefTo(folder);
    const auto text = name ? String(name) : velnor::CFRef<CFStringRef>();
    return FSCopyObjectSync(&from, &to, text.Get(), nullptr, options);
}

mode_t ModeOf(const std::string& path) {
    struct stat info{};
    EXPECT_EQ(lstat(path.c_str(), &info), 0) << path;
    return info.st_mode & 07777;
}

std::vector<std::string> Names(const std::string& folder) {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        names.push_back(entry.path().filename());
    }
    return names;
}

TEST(FileCopy, AFileKeepsContentPermissionsAndDate) {
    const TempFolder folder;
    const std::string content = std::string(300'000, 'x') + '\0' + "end";
    WriteFile(folder / "source", content);
    std::filesystem::permissions(folder / "source", std::filesystem::perms(0640));
    const timespec times[2] = {{1'000'000'000, 0}, {1'000'000'000, 123'456'789}};
    ASSERT_EQ(utimensat(AT_FDCWD, (folder / "source").c_str(), times, 0), 0);
    std::filesystem::create_directory(folder / "to");

    const FSRef from = RefTo(folder / "source");
    const FSRef to = RefTo(folder / "to");
    FSRef made;
    ASSERT_EQ(FSCopyObjectSync(&from, &to, nullptr, &made, 0), noErr);
    EXPECT_EQ(PathOf(made), folder / "to/source");
    EXPECT_EQ(ReadFile(PathOf(made)), content);
    EXPECT_EQ(ModeOf(PathOf(made)), 0640u);
    struct stat info{};
    ASSERT_EQ(stat(made.path, &info), 0);
    EXPECT_EQ(info.st_mtim.tv_sec, 1'000'000'000);
}

TEST(FileCopy, AnExistingObjectIsReplacedOnlyWhenAsked) {
    const TempFolder folder;
    WriteFile(folder / "file", "file");
    WriteFile(folder / "tree/inner", "inner");
    struct Case {
        const char* source;
        const char* target;
    };
    for (const Case& c : {Case{"file", "old file"}, Case{"file", "old tree"},
                          Case{"tree", "old file"}, Case{"tree", "old tree"}}) {
        WriteFile(folder / "to/old file", "old");
        WriteFile(folder / "to/old tree/closed/deep", "old");
        std::filesystem::permissions(folder / "to/old tree/closed", std::filesystem::perms(0500));
        EXPECT_EQ(Copy(folder / c.source, folder / "to", c.target), dupFNErr);
        EXPECT_EQ(ReadFile(folder / "to/old file"), "old");
        EXPECT_EQ(ReadFile(folder / "to/old tree/closed/deep"), "old");
        EXPECT_EQ(Copy(folder / c.source, folder / "to", c.target, kFSFileOperationOverwrite),
                  noErr);
        const std::string made = folder / "to/" + c.target;
        EXPECT_EQ(ReadFile(c.source[0] == 'f' ? made : made + "/inner"),
                  c.source[0] == 'f' ? "file" : "inner");
        EXPECT_THAT(Names(folder / "to"), UnorderedElementsAre("old file", "old tree"));
        RemoveTree(folder / "to");
    }
}

TEST(FileCopy, AFolderComesWithAllThatItHolds) {
    const TempFolder folder;
    WriteFile(folder / "tree/a/b/.hidden", "hidden");
    std::filesystem::create_symlink("/nowhere", folder / "tree/link");
    std::filesystem::create_directory(folder / "tree/empty");
    std::filesystem::permissions(folder / "tree/a", std::filesystem::perms(0555));
    ASSERT_EQ(Copy(folder / "tree", folder.Path(), "copy"), noErr);
    EXPECT_EQ(ReadFile(folder / "copy/a/b/.hidden"), "hidden");
    EXPECT_EQ(std::filesystem::read_symlink(folder / "copy/link"), "/nowhere");
    EXPECT_EQ(ModeOf(folder / "copy/a"), 0555u);
    EXPECT_THAT(Names(folder / "copy"), UnorderedElementsAre("a", "link", "empty"));
    EXPECT_THAT(Names(folder.Path()), UnorderedElementsAre("tree", "copy"));
}

TEST(FileCopy, AFailureInTheMiddleLeavesNoHalfCopy) {
    const TempFolder folder;
    WriteFile(folder / "tree/closed/file", "file");
    std::filesystem::permissions(folder / "tree/closed", std::filesystem::perms(0555));
    ASSERT_EQ(mkfifo((folder / "tree/pipe").c_str(), 0600), 0);
    std::filesystem::create_directory(folder / "to");
    EXPECT_EQ(Copy(folder / "tree", folder / "to", "copy"), ioErr);
    EXPECT_THAT(Names(folder / "to"), IsEmpty());
}

TEST(FileCopy, AFullDiskLeavesTheOldFile) {
    const TempFolder folder;
    WriteFile(folder / "source", std::string(100'000, 'x'));
    WriteFile(folder / "to/target", "old");
    const pid_t child = fork();
    if (child == 0) {
        std::signal(SIGXFSZ, SIG_IGN);
        const rlimit limit{50'000, 50'000};
        setrlimit(RLIMIT_FSIZE, &limit);
        const OSStatus status =
            Copy(folder / "source", folder / "to", "target", kFSFileOperationOverwrite);
        _exit(status == ioErr ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(ReadFile(folder / "to/target"), "old");
    EXPECT_THAT(Names(folder / "to"), UnorderedElementsAre("target"));
}

TEST(FileCopy, RefusalsTellTheSideThatRefuses) {
    const TempFolder folder;
    WriteFile(folder / "source", "secret");
    std::filesystem::create_directories(folder / "to");
    std::filesystem::permissions(folder / "source", std::filesystem::perms(0600));
    std::filesystem::permissions(folder / "to", std::filesystem::perms(0555));
    std::filesystem::permissions(folder.Path(), std::filesystem::perms(0755));
    WriteFile(folder / "public", "");
    if (geteuid() != 0) {
        std::filesystem::permissions(folder / "source", std::filesystem::perms::none);
    }
    const FSRef gone = RefTo(folder / "public");
    {
        const OrdinaryUser user;
        EXPECT_EQ(Copy(folder / "public", folder / "to", "x"), wrPermErr);
        EXPECT_EQ(Copy(folder / "source", "/tmp", "velnor-must-not-appear"), permErr);
    }
    EXPECT_EQ(Copy(folder / "public", folder / "source", "x"), dirNFErr);
    for (const char* name : {"", "..", "a/b"}) {
        EXPECT_EQ(Copy(folder / "public", folder.Path(), name), bdNamErr) << name;
    }
    std::filesystem::remove(folder / "public");
    const FSRef to = RefTo(folder / "to");
    EXPECT_EQ(FSCopyObjectSync(&gone, &to, nullptr, nullptr, 0), fnfErr);
}

TEST(FileCopy, NoCopyHoldsItselfOrReplacesWhatHoldsItsSource) {
    const TempFolder folder;
    WriteFile(folder / "tree/inner/file", "file");
    EXPECT_EQ(Copy(folder / "tree", folder / "tree", "x"), paramErr);
    EXPECT_EQ(Copy(folder / "tree", folder / "tree/inner", "x"), paramErr);
    EXPECT_EQ(Copy(folder / "tree/inner", folder.Path(), "tree", kFSFileOperationOverwrite),
              paramErr);
    EXPECT_EQ(Copy(folder / "tree", folder.Path(), "tree", kFSFileOperationOverwrite), noErr);
    EXPECT_EQ(Copy(folder / "tree", folder.Path(), "tree2"), noErr);
    EXPECT_EQ(ReadFile(folder / "tree/inner/file"), "file");
    EXPECT_EQ(ReadFile(folder / "tree2/inner/file"), "file");
}

TEST(FileCopy, OfCopiesToOneNameOneWins) {
    const TempFolder folder;
    WriteFile(folder / "tree/file", "file");
    std::filesystem::create_directory(folder / "to");
    std::atomic<int> made{0};
    std::atomic<int> refused{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([&] {
            const OSStatus status = Copy(folder / "tree", folder / "to", "copy");
            made += status == noErr ? 1 : 0;
            refused += status == dupFNErr ? 1 : 0;
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(made, 1);
    EXPECT_EQ(refused, 7);
    EXPECT_THAT(Names(folder / "to"), UnorderedElementsAre("copy"));
}

} // namespace
