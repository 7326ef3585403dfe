#include "platform/CFBundle.h"
#include "testing/Testing.h"

#include <sys/stat.h>

namespace velnor::testing {
namespace {

const std::string kExecutableFolder = "/Contents/" VELNOR_PLATFORM_FOLDER "/";

void WriteInfo(const std::string& bundle, const std::string& entries) {
    WriteFile(bundle + "/Contents/Info.plist", PlistFile(entries));
}

std::string Executable(const std::string& name) {
    return "<key>CFBundleExecutable</key><string>" + name + "</string>";
}

std::string MakeGoodBundle(const std::string& path) {
    WriteInfo(path, Executable("code") + "<key>CFBundleVersion</key><string>1.2</string>");
    std::filesystem::create_directories(path + kExecutableFolder);
    std::filesystem::copy_file(VELNOR_TEST_COMPONENT, path + kExecutableFolder + "code");
    return path;
}

CFRef<CFBundleRef> Open(const std::string& path) {
    return CFRef<CFBundleRef>(CFBundleCreate(nullptr, FileUrl(path, true).Get()));
}

using Bundle = InFolder;

TEST_F(Bundle, OnlyAFolderWithAGoodInfoFileIsOne) {
    WriteFile(folder / "file.bundle", "");
    std::filesystem::create_directories(folder / "empty.bundle");
    WriteFile(folder / "torn.bundle/Contents/Info.plist", "<plist><dict><key>a");
    WriteFile(folder / "list.bundle/Contents/Info.plist",
              "<?xml version=\"1.0\"?><plist version=\"1.0\"><array/></plist>");
    std::filesystem::create_directories(folder / "folder.bundle/Contents/Info.plist");
    std::filesystem::create_directories(folder / "pipe.bundle/Contents");
    ASSERT_EQ(mkfifo((folder / "pipe.bundle/Contents/Info.plist").c_str(), 0600), 0);
    const std::string most = PlistFile("<key>k</key><true/>");
    for (const std::size_t blanks : {(4U << 20) - most.size(), (4U << 20) - most.size() + 1}) {
        const std::string info = folder / "long.bundle/Contents/Info.plist";
        WriteFile(info, most + std::string(blanks, ' '));
        EXPECT_EQ(bool(Open(folder / "long.bundle")), blanks + most.size() == 4U << 20);
    }
    for (const char* name : {"none", "file", "empty", "torn", "list", "folder", "pipe"}) {
        EXPECT_FALSE(Open(folder / name + ".bundle")) << name;
    }
}

TEST_F(Bundle, OneObjectLivesForEachDirectory) {
    MakeGoodBundle(folder / "a.bundle");
    std::filesystem::create_directory_symlink("a.bundle", folder / "b.bundle");
    const auto first = Open(folder / "a.bundle");
    const auto second = Open(folder / "b.bundle/Contents/..");
    ASSERT_TRUE(first);
    EXPECT_EQ(first.Get(), second.Get());
    EXPECT_EQ(CFGetRetainCount(first.Get()), 2);
    EXPECT_EQ(CFGetTypeID(first.Get()), CFBundleGetTypeID());

    const CFRef<CFURLRef> url(CFBundleCopyBundleURL(first.Get()));
    EXPECT_EQ(Text(CFURLGetString(url.Get())), "file://" + folder / "a.bundle/");
    EXPECT_EQ(Text(CFBundleGetValueForInfoDictionaryKey(first.Get(), kCFBundleVersionKey)), "1.2");
    EXPECT_EQ(CFBundleGetValueForInfoDictionaryKey(first.Get(), String("none").Get()), nullptr);
}

TEST_F(Bundle, CodeIsLocalAndGoesWithTheLastReference) {
    const std::string path = MakeGoodBundle(folder / "a.bundle");
    const std::string code = path + kExecutableFolder + "code";
    auto bundle = Open(path);
    void* const entry = CFBundleGetFunctionPointerForName(bundle.Get(), String("TestEntry").Get());
    EXPECT_NE(entry, nullptr);
    EXPECT_STREQ(PlatformBundleGetLoadError(bundle.Get()), "");
    EXPECT_EQ(dlsym(RTLD_DEFAULT, "TestEntry"), nullptr);
    EXPECT_EQ(CFBundleGetFunctionPointerForName(bundle.Get(), String("ormoOpcode").Get()), nullptr);
    EXPECT_THAT(PlatformBundleGetLoadError(bundle.Get()), HasSubstr("ormoOpcode"));
    EXPECT_TRUE(CFBundleLoadExecutable(bundle.Get()));
    EXPECT_STREQ(PlatformBundleGetLoadError(bundle.Get()), "");

    auto second = Open(path);
    bundle.Reset();
    EXPECT_TRUE(IsLoaded(code));
    second.Reset();
    EXPECT_FALSE(IsLoaded(code));
}

TEST_F(Bundle, WhatDoesNotLoadSaysWhy) {
    const std::string bundle = folder / "a.bundle";
    WriteFile(bundle + kExecutableFolder + "garbage", "not an ELF file");
    std::filesystem::create_directory(bundle + kExecutableFolder + "folder");
    WriteFile(folder / "outside", "");
    for (const auto& [entries, error] : Rows<std::string, std::string>{
             {"", bundle + ": Contents/Info.plist has no CFBundleExecutable"},
             {"<key>CFBundleExecutable</key><integer>1</integer>", bundle + ": CFBundleExecutable"},
             {Executable("../../../outside"), bundle + ": CFBundleExecutable"},
             {Executable("/bin/true"), bundle + ": CFBundleExecutable"},
             {Executable(".."), bundle + ": CFBundleExecutable"},
             {Executable(""), bundle + ": CFBundleExecutable"},
             {Executable("gone"), "no executable for " VELNOR_PLATFORM_FOLDER ": " + bundle +
                                      kExecutableFolder + "gone: No such file"},
             {Executable("folder"), "no executable for " VELNOR_PLATFORM_FOLDER},
             {Executable("garbage"), bundle + kExecutableFolder + "garbage"}}) {
        WriteInfo(bundle, entries);
        const auto opened = Open(bundle);
        ASSERT_TRUE(opened) << entries;
        EXPECT_STREQ(PlatformBundleGetLoadError(opened.Get()), "");
        EXPECT_FALSE(CFBundleLoadExecutable(opened.Get()));
        EXPECT_THAT(PlatformBundleGetLoadError(opened.Get()), StartsWith(error));
        EXPECT_EQ(CFBundleGetFunctionPointerForName(opened.Get(), String("TestEntry").Get()),
                  nullptr);
    }
}

TEST_F(Bundle, ThreadsMayOpenLoadAndReleaseTheSameOne) {
    MakeGoodBundle(folder / "a.bundle");
    InThreads(4, [this](int) {
        for (int round = 0; round < 200; ++round) {
            const auto bundle = Open(folder / "a.bundle");
            EXPECT_TRUE(bundle && CFBundleLoadExecutable(bundle.Get()));
        }
    });
    EXPECT_FALSE(IsLoaded(folder / "a.bundle" + kExecutableFolder + "code"));
}

} // namespace
} // namespace velnor::testing
