#include "platform/Catalog.h"
#include "platform/Folders.h"
#include "platform/tests/Refs.h"
#include "testing/Testing.h"

namespace velnor::testing {
namespace {

namespace fs = std::filesystem;
using namespace std::string_literals;
using FileRef = InFolder;
using Catalog = InFolder;

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

TEST_F(FileRef, FailedLookupsTellWhatIsMissing) {
    WriteFile(folder / "file", "");
    fs::create_symlink(folder / "nowhere", folder / "dangling");
    fs::create_symlink(folder / "loop", folder / "loop");
    for (const auto& [path, status] :
         Rows<std::string, OSStatus>{{folder / "none", fnfErr},
                                     {folder / "dangling", fnfErr},
                                     {folder / "none/below", dirNFErr},
                                     {folder / "file/below", dirNFErr},
                                     {folder / "loop", ioErr},
                                     {folder / std::string(300, 'n'), bdNamErr},
                                     {folder.Path() + std::string(5000, '/'), bdNamErr},
                                     {"", fnfErr}}) {
        EXPECT_EQ(Resolve(path), status) << path.substr(0, 80);
    }
}

TEST_F(FileRef, PathsResolveToTheRealObject) {
    fs::create_directories(folder / "real/deep");
    fs::create_directory_symlink("real", folder / "link");
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

TEST_F(FileRef, NamesThatAreNoSingleEntryAreRefused) {
    const FSRef parent = RefTo(folder.Path());
    for (const std::u16string& name : {u""s, u"."s, u".."s, u"a/b"s, u"a\0b"s,
                                       std::u16string{0xD800}, std::u16string{0xDC00, u'a'},
                                       std::u16string(256, u'n'), std::u16string(255, u'\u20AC')}) {
        FSRef child;
        EXPECT_EQ(MakeFolder(parent, name), bdNamErr) << name.size();
        EXPECT_EQ(FindChild(parent, name, &child), bdNamErr) << name.size();
    }
    EXPECT_TRUE(fs::is_empty(folder.Path()));
}

TEST_F(FileRef, FoldersAreMadeOnceAndFound) {
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

    fs::remove(PathOf(made));
    EXPECT_EQ(MakeFolder(made, u"below"), dirNFErr);
    fs::create_directory_symlink(folder / "target", folder / "link");
    EXPECT_EQ(FindChild(parent, u"link", &found), noErr);
    EXPECT_EQ(PathOf(found), folder / "link");
}

// Path, name and whether it is a folder.
using Entry = std::tuple<std::string, std::u16string, bool>;

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
        names.assign(step, {99, {}});
        *end = FSGetCatalogInfoBulk(iterator, step, &actual, nullptr, kFSCatInfoNodeFlags,
                                    infos.data(), refs.data(), nullptr, names.data());
        for (UInt32 i = 0; i < actual; ++i) {
            const auto* units = reinterpret_cast<const char16_t*>(names[i].unicode);
            entries.emplace_back(PathOf(refs[i]), std::u16string(units, names[i].length),
                                 (infos[i].nodeFlags & kFSNodeIsDirectoryMask) != 0);
        }
    } while (*end == noErr);
    EXPECT_EQ(FSCloseIterator(iterator), noErr);
    return entries;
}

TEST_F(Catalog, EntriesComeWithNameKindAndPathInAnyStep) {
    fs::create_directories(folder / "sub/deeper");
    fs::create_directory_symlink("sub", folder / "link");
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

TEST_F(Catalog, AnEntryWhosePathDoesNotFitEndsTheListing) {
    const fs::path before = fs::current_path();
    fs::current_path(folder.Path());
    std::string path = folder.Path();
    const std::string part(250, 'd');
    while (path.size() + 1 + part.size() < sizeof(FSRef::path)) {
        path += "/" + part;
        fs::create_directory(part);
        fs::current_path(part);
    }
    WriteFile("./" + part, "");
    OSErr end = noErr;
    EXPECT_THAT(List(path, 1, &end), ElementsAre());
    EXPECT_EQ(end, bdNamErr);
    fs::current_path(before);
}

TEST_F(Catalog, OnlyReadableFoldersOpen) {
    WriteFile(folder / "file", "");
    const FSRef file = RefTo(folder / "file");
    const FSRef root = RefTo(folder.Path());
    FSIterator iterator = nullptr;
    EXPECT_EQ(FSOpenIterator(&file, kFSIterateFlat, &iterator), dirNFErr);
    EXPECT_EQ(FSOpenIterator(&root, 1, &iterator), paramErr);
    fs::create_directory(folder / "closed");
    const FSRef closed = RefTo(folder / "closed");
    fs::permissions(folder / "closed", fs::perms::none);
    fs::permissions(folder.Path(), fs::perms(0755));
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
    FSRef ref;
    EXPECT_EQ(FolderPath(kApplicationSupportFolderType), home.DataHome());
    {
        const ScopedEnv relative("XDG_DATA_HOME", "share");
        EXPECT_EQ(FolderPath(kApplicationSupportFolderType), home.Home() + "/.local/share");
    }
    {
        const ScopedEnv missing("XDG_DATA_HOME", (home.Root() + "/none/at/all").c_str());
        EXPECT_EQ(FolderPath(kApplicationSupportFolderType), "error -43");
        EXPECT_EQ(PlatformNameDataHome(&ref), noErr);
        EXPECT_EQ(PathOf(ref), home.Root() + "/none/at/all");
        const ScopedEnv file("XDG_DATA_HOME", WriteFile(home.Root() + "/file", "").c_str());
        EXPECT_EQ(FolderPath(kApplicationSupportFolderType), "error -43");
    }
    EXPECT_EQ(FSFindFolder(0, kDesktopFolderType, false, &ref), paramErr);
    EXPECT_EQ(FSFindFolder(kUserDomain, kDesktopFolderType, true, &ref), paramErr);
}

TEST(Folders, DesktopIsWhatUserDirsSaysAndNoShellReadsIt) {
    const TempHome home;
    for (const char* name : {"Desktop", "Schreib tisch", "quo\"te", "$(touch x)"}) {
        fs::create_directories(home.Home() + "/" + name);
    }
    for (const auto& [content, below] : Rows<const char*, std::string>{
             {"", "/Desktop"},
             {"# XDG_DESKTOP_DIR=\"$HOME/Schreib tisch\"\n", "/Desktop"},
             {"XDG_DOWNLOAD_DIR=\"/\"\n  XDG_DESKTOP_DIR = \"$HOME/Schreib tisch\" # mine\n",
              "/Schreib tisch"},
             {"XDG_DESKTOP_DIR=\"$HOME/quo\\\"te\"", "/quo\"te"},
             {"XDG_DESKTOP_DIR=\"$HOME/$(touch x)\"", "/$(touch x)"},
             {"XDG_DESKTOP_DIR=\"$HOME/\"", ""},
             {"XDG_DESKTOP_DIR=\"/\"\nXDG_DESKTOP_DIR=\"$HOME/Desktop\"\n", "/Desktop"},
             {"XDG_DESKTOP_DIR=\"relative\"\nXDG_DESKTOP_DIR=\"$HOMEless/x\"", "/Desktop"},
             {"XDG_DESKTOP_DIR=\"$HOME/open\nXDG_DESKTOP_DIR=$HOME\nXDG_DESKTOP_DIR=\"\\",
              "/Desktop"}}) {
        WriteFile(home.ConfigHome() + "/user-dirs.dirs", content);
        EXPECT_EQ(FolderPath(kDesktopFolderType), home.Home() + below) << content;
    }
    WriteFile(home.ConfigHome() + "/user-dirs.dirs", "XDG_DESKTOP_DIR=\"$HOME/gone\"\n");
    EXPECT_EQ(FolderPath(kDesktopFolderType), "error -43");
}

} // namespace
} // namespace velnor::testing
