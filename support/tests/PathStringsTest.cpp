#include "support/PathStrings.h"
#include "platform/tests/Testing.h"

namespace velnor::test {
namespace {

TEST(PathStrings, SplitAtTheLastSeparator) {
    for (const auto& [path, folder, file, stripped, extension, relative] :
         Rows<const char*, const char*, const char*, const char*, const char*, bool>{
             {"", "", "", "", "", true},
             {"file.txt", ".", "file.txt", "file", "txt", true},
             {"/file.txt", "", "file.txt", "/file", "txt", false},
             {"a/b/c", "a/b", "c", "a/b/c", "", true},
             {"dir/", "dir", "", "dir/", "", true},
             {"archive.tar.gz", ".", "archive.tar.gz", "archive.tar", "gz", true}}) {
        EXPECT_EQ(getPathFromFile(path), folder) << path;
        EXPECT_EQ(getFileFromPath(path), file) << path;
        EXPECT_EQ(stripFileExtension(path), stripped) << path;
        EXPECT_EQ(getFileExtension(path), extension) << path;
        EXPECT_EQ(pathIsRelative(path), relative) << path;
    }
}

TEST(PathStrings, CleansAndConverts) {
    std::string text = "a/b:c d?\\*><|\xC3\xA9.";
    cleanPathName(text);
    EXPECT_EQ(text, "a_b_c_d______\xC3\xA9.");
    PToPosix("dir\\sub\\file", text);
    EXPECT_EQ(text, "dir/sub/file");
    PToPosix(std::string(3000, '\\'), text);
    EXPECT_EQ(text, std::string(2047, '/'));
}

} // namespace
} // namespace velnor::test
