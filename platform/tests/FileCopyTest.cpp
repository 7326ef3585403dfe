#include "platform/FileCopy.h"

#include "platform/tests/Refs.h"
#include "testing/SystemFault.h"
#include "testing/Testing.h"

#include <atomic>
#include <csignal>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>

namespace velnor::testing {
namespace {

namespace fs = std::filesystem;
using FileCopy = InFolder;

OSStatus Copy(const std::string& source, const std::string& folder, const char* name,
              UInt32 options = kFSFileOperationDefaultOptions) {
    const FSRef from = RefTo(source);
    const FSRef to = RefTo(folder);
    const auto text = name ? String(name) : CFRef<CFStringRef>();
    return FSCopyObjectSync(&from, &to, text.Get(), nullptr, options);
}

Texts Names(const std::string& folder) {
    Texts names;
    for (const auto& entry : fs::directory_iterator(folder)) {
        names.push_back(entry.path().filename());
    }
    return names;
}

TEST_F(FileCopy, AFileKeepsContentPermissionsAndDate) {
    const std::string content = std::string(300'000, 'x') + '\0' + "end";
    WriteFile(folder / "source", content);
    fs::permissions(folder / "source", fs::perms(04640));
    const timespec times[2] = {{1'500'000'000, 0}, {1'000'000'000, 123'456'789}};
    ASSERT_EQ(utimensat(AT_FDCWD, (folder / "source").c_str(), times, 0), 0);
    fs::create_directory(folder / "to");

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

TEST_F(FileCopy, WhatWasCopiedSurvivesAPowerCut) {
    WriteFile(folder / "tree/inner/file", "file");
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(lostToAPowerCut([this] {
                      return Copy(folder / "tree", folder.Path(), "copy",
                                  kFSFileOperationOverwrite);
                  }),
                  "");
    }
    EXPECT_EQ(ReadFile(folder / "copy/inner/file"), canMakeFaults() ? "file" : "");
}

TEST_F(FileCopy, AnExistingObjectIsReplacedOnlyWhenAsked) {
    WriteFile(folder / "file", "file");
    WriteFile(folder / "tree/inner", "inner");
    for (const auto& [source, target] : Rows<std::string, std::string>{{"file", "old file"},
                                                                       {"file", "old tree"},
                                                                       {"tree", "old file"},
                                                                       {"tree", "old tree"}}) {
        WriteFile(folder / "to/old file", "old");
        WriteFile(folder / "to/old tree/closed/deep", "old");
        fs::permissions(folder / "to/old tree/closed", fs::perms(0500));
        EXPECT_EQ(Copy(folder / source, folder / "to", target.c_str()), dupFNErr);
        EXPECT_EQ(ReadFile(folder / "to/old file"), "old");
        EXPECT_EQ(ReadFile(folder / "to/old tree/closed/deep"), "old");
        EXPECT_EQ(Copy(folder / source, folder / "to", target.c_str(), kFSFileOperationOverwrite),
                  noErr);
        const std::string made = folder / "to/" + target;
        EXPECT_EQ(ReadFile(source == "file" ? made : made + "/inner"),
                  source == "file" ? "file" : "inner");
        EXPECT_THAT(Names(folder / "to"), UnorderedElementsAre("old file", "old tree"));
        RemoveTree(folder / "to");
    }
}

TEST_F(FileCopy, AFolderComesWithAllThatItHolds) {
    WriteFile(folder / "tree/a/b/.hidden", "hidden");
    fs::create_symlink("/nowhere", folder / "tree/link");
    fs::create_directory(folder / "tree/empty");
    fs::permissions(folder / "tree/a", fs::perms(0555));
    ASSERT_EQ(Copy(folder / "tree", folder.Path(), "copy"), noErr);
    EXPECT_EQ(ReadFile(folder / "copy/a/b/.hidden"), "hidden");
    EXPECT_EQ(fs::read_symlink(folder / "copy/link"), "/nowhere");
    EXPECT_EQ(ModeOf(folder / "copy/a"), 0555u);
    EXPECT_THAT(Names(folder / "copy"), UnorderedElementsAre("a", "link", "empty"));
    EXPECT_THAT(Names(folder.Path()), UnorderedElementsAre("tree", "copy"));
}

TEST_F(FileCopy, AFailureInTheMiddleLeavesNoHalfCopy) {
    fs::permissions(folder.Path(), fs::perms(0777));
    const OrdinaryUser user;
    fs::create_directory(folder / "tree");
    ASSERT_EQ(mkfifo((folder / "tree/pipe").c_str(), 0600), 0);
    for (const char* closed : {"tree/a", "tree/b", "tree/c", "tree/x", "tree/y", "tree/z"}) {
        WriteFile(folder / closed + "/file", "file");
        fs::permissions(folder / closed, fs::perms(0555));
    }
    fs::create_directory(folder / "to");
    EXPECT_EQ(Copy(folder / "tree", folder / "to", "copy"), ioErr);
    EXPECT_THAT(Names(folder / "to"), IsEmpty());
}

// The call number of its kind that fails, with what error, and what the caller is told.
TEST_F(FileCopy, EachFailureHasItsStatusAndLeavesTheOldObject) {
    if (!canMakeFaults()) {
        GTEST_SKIP() << "this system does not let a process trace its child";
    }
    WriteFile(folder / "tree/inner", "new");
    for (const auto& [call, number, error, status] :
         Rows<long, int, int, OSErr>{{SYS_write, 1, ENOSPC, dskFulErr},
                                     {SYS_write, 1, EDQUOT, dskFulErr},
                                     {SYS_write, 1, EPERM, wrPermErr},
                                     {SYS_write, 1, EROFS, wrPermErr},
                                     {SYS_write, 1, ENOMEM, memFullErr},
                                     {SYS_fsync, 1, EIO, ioErr},
                                     {SYS_fchmod, 1, EIO, ioErr},
                                     {SYS_mkdirat, 1, EACCES, wrPermErr},
                                     {SYS_renameat, 1, EIO, ioErr},
                                     {SYS_renameat, 2, EIO, ioErr},
                                     {SYS_renameat, 3, EIO, ioErr},
                                     {SYS_renameat, 9, EIO, noErr}}) {
        SCOPED_TRACE(std::to_string(call) + " " + std::to_string(number));
        WriteFile(folder / "to/old/deep", "old");
        int met = 0;
        const auto copy = [this] {
            return Copy(folder / "tree", folder / "to", "old", kFSFileOperationOverwrite);
        };
        const int result = faults::runWatched(
            copy, [&, call = call, number = number, error = error](pid_t, const auto& registers) {
                const auto made = static_cast<long>(registers.*faults::kNumber);
                met += made == call ? 1 : 0;
                return made == SYS_renameat2 ? ENOSYS : made == call && met == number ? error : 0;
            });
        EXPECT_EQ(result, static_cast<UInt8>(status));
        EXPECT_EQ(ReadFile(folder / "to/old/deep"), status == noErr ? "" : "old");
        EXPECT_THAT(Names(folder / "to"), ElementsAre("old"));
    }
}

TEST_F(FileCopy, AFullDiskLeavesTheOldFile) {
    WriteFile(folder / "source", std::string(100'000, 'x'));
    WriteFile(folder / "to/target", "old");
    const auto copy = [&] {
        std::signal(SIGXFSZ, SIG_IGN);
        const rlimit limit{50'000, 50'000};
        setrlimit(RLIMIT_FSIZE, &limit);
        return Copy(folder / "source", folder / "to", "target", kFSFileOperationOverwrite);
    };
    EXPECT_EXIT(_exit(copy() == ioErr ? 0 : 1), ExitedWithCode(0), "");
    EXPECT_EQ(ReadFile(folder / "to/target"), "old");
    EXPECT_THAT(Names(folder / "to"), UnorderedElementsAre("target"));
}

TEST_F(FileCopy, RefusalsTellTheSideThatRefuses) {
    WriteFile(folder / "source", "secret");
    fs::create_directories(folder / "to");
    fs::permissions(folder / "source", fs::perms(0600));
    fs::permissions(folder / "to", fs::perms(0555));
    fs::permissions(folder.Path(), fs::perms(0755));
    WriteFile(folder / "public", "");
    if (geteuid() != 0) {
        fs::permissions(folder / "source", fs::perms::none);
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
    fs::remove(folder / "public");
    const FSRef to = RefTo(folder / "to");
    EXPECT_EQ(FSCopyObjectSync(&gone, &to, nullptr, nullptr, 0), fnfErr);
}

TEST_F(FileCopy, NoCopyHoldsItselfOrReplacesWhatHoldsItsSource) {
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

TEST_F(FileCopy, OfCopiesToOneNameOneWins) {
    WriteFile(folder / "tree/file", "file");
    fs::create_directory(folder / "to");
    std::atomic<int> made{0};
    std::atomic<int> refused{0};
    InThreads(8, [&](int) {
        const OSStatus status = Copy(folder / "tree", folder / "to", "copy");
        made += status == noErr ? 1 : 0;
        refused += status == dupFNErr ? 1 : 0;
    });
    EXPECT_EQ(made, 1);
    EXPECT_EQ(refused, 7);
    EXPECT_THAT(Names(folder / "to"), UnorderedElementsAre("copy"));
}

} // namespace
} // namespace velnor::testing
