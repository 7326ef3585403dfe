#include "platform/Catalog.h"
#include "platform/Folders.h"
#include "platform/tests/Refs.h"
#include "platform/tests/TempHome.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <pwd.h>
#include <sys/stat.h>

namespace {

using namespace velnor::test;
using testing::ElementsAre;
using testing::UnorderedElementsAre;

OSStatus Resolve(const std::string& path) {
    FSRef ref;
    return FSPathMakeRef(reinterpret_cast<const UInt8*>(path.c_str()), &ref, nullptr);
}

OSErr FindChild(const FSRef& parent, const std::u16string& name, FSRef* child) {
    return FSMakeFSRefUnicode(&parent, name.size(), Units(name), kTextEncodingUnknown, child);
}

OSErr MakeFolder(const FSRef& parent, const std::u16string& name, FSRef* made = nullptr) {
    return FSCreateDirectoryUnicode(&parent, name.size(), Units(name), 0, nullptr, made, nullptr,
                                    nullptr);
}

TEST(FileRef, FailedLookupsTellWhatIsMissing) {
    const TempFolder folder;
    WriteFile(folder / "file", "");
    std::filesystem::create_symlink(folder / "nowhere", folder / "dangling");
    std::filesystem::create_symlink(folder / "loop", folder / "loop");
    const std::pair<std::string, OSStatus> cases[] = {
        {folder / "none", fnfErr},
        {folder / "dangling", fnfErr},
        {folder / "none/below", dirNFErr},
        {folder / "file/below", dirNFErr},
        {folder / "loop", ioErr},
        {folder / std::string(300, 'n'), bdNamErr},
        {folder.Path() + std::string(5000, '/'), bdNamErr},
        {"", fnfErr},
    };
    for (const auto& [path, status] : cases) {
        EXPECT_EQ(Resolve(path), status) << path.substr(0, 80);
    }
}

TEST(FileRef, PathsResolveToTheRealObject) {
    const TempFolder folder;
    std::filesystem::create_directories(folder / "real/deep");
    std::filesystem::create_directory_symlink("real", folder / "link");
    Boolean isDirectory = false;
    FSRef ref;
    const std::string path = folder / "link/../link//deep/";
    ASSERT_EQ(FSPathMakeRef(reinterpret_cast<const UInt8*>(path.c_str()), &ref, &isDirectory),
              noErr);
    EXPECT_TRUE(isDirectory);
    EXPECT_EQ(PathOf(ref), folder / "real/deep");

    const auto length = static_cast<UInt32>(PathOf(ref).size());
    std::string buffer(length + 1, '#');
    auto* bytes = reinterpret_cast<UInt8*>(buffer.data());
    EXPECT_EQ(FSRefMakePath(&ref, bytes, length), bdNamErr);
    EXPECT_EQ(buffer, std::string(length + 1, '#'));
    EXPECT_EQ(FSRefMakePath(&ref, bytes, length + 1), noErr);
    EXPECT_STREQ(buffer.c_str(), PathOf(ref).c_str());
}

TEST(FileRef, NamesThatAreNoSingleEntryAreRefused) {
    const TempFolder folder;
    const FSRef parent = RefTo(folder.Path());
    const std::u16string names[] = {u"",
                                    u".",
                                    u"..",
                                    u"a/b",
                                    {u'a', 0, u'b'},
                                    {0xD800},
                                    {0xDC00, u'a'},
                                    std::u16string(256, u'n'),
                                    std::u16string(255, u'\u20AC')};
    for (const auto& name : names) {
        FSRef child;
        EXPECT_EQ(MakeFolder(parent, name), bdNamErr) << name.size();
        EXPECT_EQ(FindChild(parent, name, &child), bdNamErr) << name.size();
    }
    EXPECT_TRUE(std::filesystem::is_empty(folder.Path()));
}

TEST(FileRef, FoldersAreMadeOnceAndFound) {
    const TempFolder folder;
    const FSRef parent = RefTo(folder.Path());
    FSRef made;
    FSRef found;
    const std::u16string name = u"T\u00E4rn \U0001D11E";
    EXPECT_EQ(FindChild(parent, name, &found), fnfErr);
    ASSERT_EQ(MakeFolder(parent, name, &made), noErr);
    EXPECT_EQ(FindChild(parent, name, &found), noErr);
    EXPECT_EQ(PathOf(made), folder / "T\u00E4rn \U0001D11E");
    EXPECT_EQ(PathOf(found), PathOf(made));
    EXPECT_EQ(MakeFolder(parent, name), dupFNErr);

    std::filesystem::remove(PathOf(made));
    EXPECT_EQ(MakeFolder(made, u"below"), dirNFErr);
    std::filesystem::create_directory_symlink(folder / "target", folder / "link");
    EXPECT_EQ(FindChild(parent, u"link", &found), noErr);
    EXPECT_EQ(PathOf(found), folder / "link");
}

struct Entry {
    std::string path;
    std::u16string name;
    bool isFolder;
    bool operator==(const Entry&) const = default;
};

// Lists with so many entries to a call; the last status goes to *end.
std::vector<Entry> List(const std::string& path, UInt32 step, OSErr* end) {
    const FSRef folder = RefTo(path);
    FSIterator iterator = nullptr;
    EXPECT_EQ(FSOpenIterator(&folder, kFSIterateFlat, &iterator), noErr);
    std::vector<FSCatalogInfo> infos(step);
    std::vector<FSRef> refs(step);
    std::vector<HFSUniStr255> names(step);
    std::vector<Entry> entries;
    do {
        UInt32 actual = 0;
        *end = FSGetCatalogInfoBulk(iterator, step, &actual, nullptr, kFSCatInfoNodeFlags,
                                    infos.data(), refs.data(), nullptr, names.data());
        for (UInt32 i = 0; i < actual; ++i) {
            const auto* units = reinterpret_cast<const char16_t*>(names[i].unicode);
            entries.push_back({PathOf(refs[i]),
                               {units, names[i].length},
                               (infos[i].nodeFlags & kFSNodeIsDirectoryMask) != 0});
        }
    } while (*end == noErr);
    EXPECT_EQ(FSCloseIterator(iterator), noErr);
    return entries;
}

TEST(Catalog, EntriesComeWithNameKindAndPathInAnyStep) {
    const TempFolder folder;
    std::filesystem::create_directories(folder / "sub/deeper");
    std::filesystem::create_directory_symlink("sub", folder / "link");
    WriteFile(folder / ".hidden", "");
    WriteFile(folder / "\xC3\xA9", "");
    WriteFile(folder / "bad\xFF", "");
    for (const UInt32 step : {1U, 2U, 5U, 100U}) {
        OSErr end = noErr;
        EXPECT_THAT(List(folder.Path(), step, &end),
                    UnorderedElementsAre(Entry{folder / "sub", u"sub", true},
                                         Entry{folder / "link", u"link", false},
                                         Entry{folder / ".hidden", u".hidden", false},
                                         Entry{folder / "\xC3\xA9", u"\u00E9", false},
                                         Entry{folder / "bad\xFF", u"", false}));
        EXPECT_EQ(end, errFSNoMoreItems);
    }
}

TEST(Catalog, AnEntryWhosePathDoesNotFitEndsTheListing) {
    const TempFolder folder;
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(folder.Path());
    std::string path = folder.Path();
    const std::string part(250, 'd');
    while (path.size() + 1 + part.size() < sizeof(FSRef::path)) {
        path += "/" + part;
        std::filesystem::create_directory(part);
        std::filesystem::current_path(part);
    }
    WriteFile("./" + part, "");
    OSErr end = noErr;
    EXPECT_THAT(List(path, 1, &end), ElementsAre());
    EXPECT_EQ(end, bdNamErr);
    std::filesystem::current_path(before);
}

TEST(Catalog, OnlyReadableFoldersOpen) {
    const TempFolder folder;
    WriteFile(folder / "file", "");
    const FSRef file = RefTo(folder / "file");
    const FSRef root = RefTo(folder.Path());
    FSIterator iterator = nullptr;
    EXPECT_EQ(FSOpenIterator(&file, kFSIterateFlat, &iterator), dirNFErr);
    EXPECT_EQ(FSOpenIterator(&root, 1, &iterator), paramErr);
    std::filesystem::create_directory(folder / "closed");
    const FSRef closed = RefTo(folder / "closed");
    std::filesystem::permissions(folder / "closed", std::filesystem::perms::none);
    std::filesystem::permissions(folder.Path(), std::filesystem::perms(0755));
    {
        const OrdinaryUser user;
        EXPECT_EQ(FSOpenIterator(&closed, kFSIterateFlat, &iterator), permErr);
    }
    RemoveTree(folder / "closed");
    EXPECT_EQ(FSOpenIterator(&closed, kFSIterateFlat, &iterator), dirNFErr);
}

std::string FolderPath(OSType type) {
    FSRef ref;
    const OSErr status = FSFindFolder(kUserDomain, type, false, &ref);
    return status == noErr ? PathOf(ref) : "error " + std::to_string(status);
}

TEST(Folders, ApplicationSupportIsTheDataHomeThatExists) {
    const TempHome home;
    EXPECT_EQ(FolderPath(kApplicationSupportFolderType), home.DataHome());
    {
        const ScopedEnv relative("XDG_DATA_HOME", "share");
        EXPECT_EQ(FolderPath(kApplicationSupportFolderType), home.Home() + "/.local/share");
    }
    {
        const ScopedEnv missing("XDG_DATA_HOME", (home.Root() + "/none/at/all").c_str());
        EXPECT_EQ(FolderPath(kApplicationSupportFolderType), "error -43");
        const ScopedEnv file("XDG_DATA_HOME", WriteFile(home.Root() + "/file", "").c_str());
        EXPECT_EQ(FolderPath(kApplicationSupportFolderType), "error -43");
    }
    const ScopedEnv noData("XDG_DATA_HOME", nullptr);
    FSRef ref;
    for (const char* useless : {static_cast<const char*>(nullptr), "", "relative/path"}) {
        const ScopedEnv noHome("HOME", useless);
        const passwd* user = getpwuid(getuid());
        ASSERT_EQ(PlatformNameDataHome(&ref), user ? noErr : fnfErr);
        EXPECT_TRUE(!user || PathOf(ref) == user->pw_dir + std::string("/.local/share"));
    }
    EXPECT_EQ(FSFindFolder(0, kDesktopFolderType, false, &ref), paramErr);
    EXPECT_EQ(FSFindFolder(kUserDomain, kDesktopFolderType, true, &ref), paramErr);
}

TEST(Folders, DesktopIsWhatUserDirsSaysAndNoShellReadsIt) {
    const TempHome home;
    for (const char* name : {"Desktop", "Schreib tisch", "quo\"te", "$(touch x)"}) {
        std::filesystem::create_directories(home.Home() + "/" + name);
    }
    const std::pair<const char*, std::string> cases[] = {
        {"", "/Desktop"},
        {"# XDG_DESKTOP_DIR=\"$HOME/Schreib tisch\"\n", "/Desktop"},
        {"XDG_DOWNLOAD_DIR=\"/\"\n  XDG_DESKTOP_DIR = \"$HOME/Schreib tisch\" # mine\n",
         "/Schreib tisch"},
        {"XDG_DESKTOP_DIR=\"$HOME/quo\\\"te\"", "/quo\"te"},
        {"XDG_DESKTOP_DIR=\"$HOME/$(touch x)\"", "/$(touch x)"},
        {"XDG_DESKTOP_DIR=\"$HOME/\"", ""},
        {"XDG_DESKTOP_DIR=\"/\"\nXDG_DESKTOP_DIR=\"$HOME/Desktop\"\n", "/Desktop"},
        {"XDG_DESKTOP_DIR=\"relative\"\nXDG_DESKTOP_DIR=\"$HOMEless/x\"", "/Desktop"},
        {"XDG_DESKTOP_DIR=\"$HOME/open\nXDG_DESKTOP_DIR=$HOME\nXDG_DESKTOP_DIR=\"\\", "/Desktop"},
    };
    for (const auto& [content, below] : cases) {
        WriteFile(home.ConfigHome() + "/user-dirs.dirs", content);
        EXPECT_EQ(FolderPath(kDesktopFolderType), home.Home() + below) << content;
    }
    WriteFile(home.ConfigHome() + "/user-dirs.dirs", "XDG_DESKTOP_DIR=\"$HOME/gone\"\n");
    EXPECT_EQ(FolderPath(kDesktopFolderType), "error -43");
}

} // namespace
