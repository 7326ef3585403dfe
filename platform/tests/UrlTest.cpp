#include "platform/CFURL.h"
#include "testing/Testing.h"

namespace velnor::testing {
namespace {

std::string PathOf(const CFRef<CFURLRef>& url) {
    char path[4096];
    const bool fits = CFURLGetFileSystemRepresentation(url.Get(), true,
                                                       reinterpret_cast<UInt8*>(path), sizeof path);
    return fits ? path : "<none>";
}

TEST(Url, TakesUrlsWithASchemeAndNothingElse) {
    for (const std::string_view text :
         {"http://example.org", "https://u:p@example.org:80/a/b;c?q=1&r=%20/?#frag/?", "mailto:a@b",
          "HTTP://[2001:db8::1]:443/", "x+y-z.1:", "file:///", "urn:a:b"}) {
        const auto url = Url(text);
        ASSERT_TRUE(url) << text;
        EXPECT_EQ(Text(CFURLGetString(url.Get())), text);
    }
    for (const std::string_view text :
         {"", "example.org", "/path", ":x", "1http://x", "ht tp://x", "http://a b", "http://x/%",
          "http://x/%4", "http://x/%zz", "http://x/\u00E9", "http://x/<", "http://x/[",
          "http://[::1", "http://x:8a/", "http://x#a#b", "http://a@b@c/", "http://x/\n"}) {
        EXPECT_FALSE(Url(text)) << text;
    }
    EXPECT_FALSE(Url(std::string_view("http://x/\0", 10)));
}

TEST(Url, PathsBecomeFileUrlsAndComeBack) {
    const std::string here = std::filesystem::current_path().string();
    for (const auto& [path, isDirectory, text, back] :
         Rows<std::string, bool, std::string, std::string>{
             {"/", true, "file:///", "/"},
             {"/a b/%", false, "file:///a%20b/%25", "/a b/%"},
             {"/dir//", true, "file:///dir/", "/dir"},
             {"/\xFF?#", false, "file:///%FF%3F%23", "/\xFF?#"}}) {
        const auto url = FileUrl(path, isDirectory);
        EXPECT_EQ(Text(CFURLGetString(url.Get())), text);
        EXPECT_EQ(PathOf(url), back);
        EXPECT_EQ(PathOf(Url(text)), back);
    }
    EXPECT_EQ(PathOf(FileUrl("x")), here + "/x");
    EXPECT_EQ(PathOf(Url("FILE://localhost/a")), "/a");
    for (const char* other : {"file://host/a", "http://x/a", "file:a", "file:///a%00b"}) {
        EXPECT_EQ(PathOf(Url(other)), "<none>") << other;
    }
    EXPECT_FALSE(FileUrl(""));
    EXPECT_FALSE(FileUrl(std::string_view("/a\0b", 4)));
    UInt8 small[2];
    EXPECT_FALSE(CFURLGetFileSystemRepresentation(FileUrl("/a").Get(), true, small, 2));
}

TEST(Url, ResolvesWhatExists) {
    const TempFolder folder;
    const std::string file = WriteFile(folder / "f\u00E9", "x");
    FSRef ref;
    const CFRef<CFURLRef> url(
        CFURLCreateWithFileSystemPath(nullptr, String(file).Get(), kCFURLPOSIXPathStyle, true));
    ASSERT_TRUE(CFURLGetFSRef(url.Get(), &ref)) << "of whatever kind it is";
    EXPECT_EQ(std::string(ref.path), file);
    EXPECT_FALSE(CFURLGetFSRef(FileUrl(folder / "absent").Get(), &ref));
    EXPECT_FALSE(CFURLGetFSRef(Url("http://x/").Get(), &ref));
}

} // namespace
} // namespace velnor::testing
