#include "support/Listing.h"

#include "testing/Testing.h"

#include <unistd.h>

namespace velnor::testing {
namespace {

namespace fs = std::filesystem;

class Listing : public ::testing::Test {
protected:
    Listing() {
        for (const char* file : {"x.wav", "d/y.wav", "d/z.txt", "d.wav/loop.wav.bak", ".h/A.WAV",
                                 "d/e/f/loops", "bad/\xFF\xFE"}) {
            WriteFile(mFolder / file, "");
        }
        fs::create_directory_symlink(mFolder / "d", mFolder / "link");
    }

    // The paths found below the root, each ended by a blank.
    std::string files(const std::string& pattern, bool matchDirectories) const {
        std::set<std::string> out;
        FileLister(mFolder.Path(), pattern, out, matchDirectories);
        return below(out);
    }
    std::string below(const std::set<std::string>& paths) const {
        std::string all;
        for (const std::string& path : paths) {
            all += path.substr(mFolder.Path().size() + 1) + " ";
        }
        return all;
    }

    const TempFolder mFolder;
};

TEST_F(Listing, TakesHiddenEntriesFollowsNoLinksAndMatchesByText) {
    std::set<std::string> out = {mFolder.Path() + "/kept"};
    DirectoryLister(mFolder.Path(), out);
    EXPECT_EQ(below(out), ".h bad d d.wav d/e d/e/f kept ");
    const std::string all = ".h/A.WAV bad/\xFF\xFE d.wav/loop.wav.bak d/e/f/loops d/y.wav d/z.txt "
                            "link x.wav ";
    for (const auto& [pattern, matchDirectories, expected] :
         Rows<const char*, bool, std::string>{{"*.*", false, all},
                                              {"*", false, all},
                                              {"*.*", true, ".h bad d d.wav link x.wav "},
                                              {"*.wav", false, "d.wav/loop.wav.bak d/y.wav x.wav "},
                                              {"*.wav", true, "d.wav d/y.wav x.wav "},
                                              {"loop", false, "d.wav/loop.wav.bak d/e/f/loops "},
                                              {"a*.w*", false, ""}}) {
        EXPECT_EQ(files(pattern, matchDirectories), expected) << pattern;
    }
}

TEST_F(Listing, WhatCannotBeReadAddsNothing) {
    std::set<std::string> out;
    for (const std::string& root : {mFolder / "none", mFolder / "x.wav", std::string()}) {
        DirectoryLister(root, out);
        FileLister(root, "*", out, false);
    }
    EXPECT_TRUE(out.empty());
    fs::permissions(mFolder / "d", fs::perms::none);
    const std::string found = files("*.wav", false);
    fs::permissions(mFolder / "d", fs::perms::owner_all);
    EXPECT_EQ(found,
              geteuid() == 0 ? "d.wav/loop.wav.bak d/y.wav x.wav " : "d.wav/loop.wav.bak x.wav ");
}

TEST_F(Listing, PathsPastTheLimitAreLeftOut) {
    std::string path = mFolder.Path();
    while (path.size() < 900) {
        path += "/" + std::string(100, 'p');
    }
    path += "/";
    const std::string fits = path + std::string(1024 - path.size(), 'n');
    WriteFile(fits, "");
    WriteFile(fits + "n", "");
    std::set<std::string> out;
    FileLister(mFolder.Path(), "nnn", out, false);
    EXPECT_EQ(out, std::set<std::string>{fits});
}

} // namespace
} // namespace velnor::testing
