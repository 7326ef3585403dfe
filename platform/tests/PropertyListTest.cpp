#include "platform/CFDate.h"
#include "platform/CFPropertyList.h"
#include "testing/Testing.h"

#include <array>
#include <cmath>
#include <limits>

namespace velnor::testing {
namespace {

using namespace std::string_literals;

constexpr std::array kFormats = {kCFPropertyListXMLFormat_v1_0, kCFPropertyListBinaryFormat_v1_0};

CFRef<CFTypeRef> Read(std::string_view file, CFOptionFlags options = kCFPropertyListImmutable,
                      CFPropertyListFormat* format = nullptr) {
    return CFRef<CFTypeRef>(
        CFPropertyListCreateWithData(nullptr, Data(file).Get(), options, format, nullptr));
}

CFRef<CFDataRef> Write(CFTypeRef tree, CFPropertyListFormat format) {
    return CFRef<CFDataRef>(CFPropertyListCreateData(nullptr, tree, format, 0, nullptr));
}

std::string Xml(std::string_view body) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!DOCTYPE plist>\n<plist "
           "version=\"1.0\">" +
           std::string(body) + "</plist>\n";
}

CFRef<CFTypeRef> Date(double at) {
    return CFRef<CFTypeRef>(CFDateCreate(nullptr, at));
}

// One of each type, with the values that are hard to keep.
CFRef<CFMutableDictionaryRef> EveryType() {
    auto tree = Dictionary();
    const auto list = Array();
    const auto add = [&list](const CFRef<CFTypeRef>& value) {
        CFArrayAppendValue(list.Get(), value.Get());
    };
    for (const SInt64 n :
         {SInt64{0}, SInt64{-1}, SInt64{255}, SInt64{256}, SInt64{-129},
          std::numeric_limits<SInt64>::min(), std::numeric_limits<SInt64>::max()}) {
        add(Value(n));
    }
    for (const double n : {0.1, -0.5, 1e-300, 1.7976931348623157e308, 4e-320, 3.0, 1234567.891,
                           static_cast<double>(HUGE_VAL), std::nan("")}) {
        add(Value(n));
    }
    for (const double at : {0.0, -1.0, 730902896.0, -31588531200.0, 252423993599.0}) {
        add(Date(at));
    }
    for (const std::string_view text : {"", " blanks \t\n ", "&<>\"']]>&amp;", "line\r\nend\r",
                                        "\u00E9\u0416\u4E2D", "\xF0\x9F\x98\x80\xF4\x8F\xBF\xBD"}) {
        add(Value(text));
    }
    Set(tree.Get(), "list", list.Get());
    Set(tree.Get(), "", kCFBooleanTrue);
    Set(tree.Get(), "a&<b>\u00E9", kCFBooleanFalse);
    Set(tree.Get(), "data", Data(std::string_view("\0\1\xFF", 3)).Get());
    Set(tree.Get(), "no data", Data("").Get());
    Set(tree.Get(), "empty", Dictionary().Get());
    Set(tree.Get(), "none", Array().Get());
    return tree;
}

TEST(PropertyList, EveryTypeComesBackFromBothForms) {
    const auto tree = EveryType();
    for (const CFPropertyListFormat format : kFormats) {
        const auto file = Write(tree.Get(), format);
        ASSERT_TRUE(file);
        CFPropertyListFormat found = 0;
        const auto back = Read(Bytes(file.Get()), kCFPropertyListImmutable, &found);
        ASSERT_TRUE(back);
        EXPECT_EQ(found, format);
        EXPECT_TRUE(CFEqual(back.Get(), tree.Get())) << Bytes(file.Get());
    }
}

TEST(PropertyList, TheFormThatCannotHoldAValueSaysSo) {
    for (const auto& [value, inXml, inBinary] :
         Rows<CFRef<CFTypeRef>, bool, bool>{{Value(std::string_view("a\0b", 3)), false, false},
                                            {Value("bell \a"), false, true},
                                            {Value("\uFFFE"), false, true},
                                            {Date(-31588531201.0), false, true},
                                            {Date(252423993600.0), false, true},
                                            {Date(std::nan("")), false, true},
                                            {CFRef<CFTypeRef>(CFTypeRef{nullptr}), false, false}}) {
        EXPECT_EQ(bool(Write(value.Get(), kCFPropertyListXMLFormat_v1_0)), inXml);
        const auto binary = Write(value.Get(), kCFPropertyListBinaryFormat_v1_0);
        EXPECT_EQ(bool(binary), inBinary);
        EXPECT_TRUE(!binary || Read(Bytes(binary.Get())));
    }
    const auto half = Read(Bytes(Write(Date(-0.5).Get(), kCFPropertyListXMLFormat_v1_0).Get()));
    EXPECT_TRUE(CFEqual(half.Get(), Date(-1).Get()));
}

TEST(PropertyList, ReadsTheLibertiesThatXmlAllows) {
    EXPECT_EQ(Text(Read("\xEF\xBB\xBF" + Xml("<string>a\r\nb</string>")).Get()), "a\nb");
    EXPECT_EQ(Text(Read(Xml("<!-- <dict> --><string>a<![CDATA[<b>]]>&#x41;</string>")).Get()),
              "a<b>A");
    for (const std::string body :
         {"<string a='>'>x</string>", "<string a='\"'>x</string>",
          "<?x \"?><string>x<!-- \"?> --></string>", "<!--> <true/> --><string>x</string>"}) {
        EXPECT_EQ(Text(Read(Xml(body)).Get()), "x") << body;
    }
    EXPECT_TRUE(Read(Xml("<date>2016-12-31T23:59:60Z</date>")));
    const auto tree =
        Read(Xml("<dict ><key/>\n<true />\n<key>k</key><integer> -3 </integer></dict >"));
    ASSERT_TRUE(tree);
    EXPECT_EQ(Get(tree.Get(), ""), static_cast<CFTypeRef>(kCFBooleanTrue));
    EXPECT_TRUE(CFEqual(Get(tree.Get(), "k"), Value(SInt64{-3}).Get()));
}

TEST(PropertyList, RefusesDocumentsThatAreNone) {
    for (const char* body : {"",
                             "<true/><false/>",
                             "<unknown/>",
                             "<dict><true/></dict>",
                             "<dict><key>a</key></dict>",
                             "<array><key>a</key></array>",
                             "<string><string>a</string></string>",
                             "<integer>12a</integer>",
                             "<integer></integer>",
                             "<integer>99999999999999999999</integer>",
                             "<real>x</real>",
                             "<date>yesterday</date>",
                             "<date>2024-13-01T00:00:00Z</date>",
                             "<data>!</data>",
                             "<string>&unknown;</string>",
                             "<array></dict>",
                             "<string a='<'></string>",
                             "<array>x</array>",
                             "<string>\xFF</string>",
                             "<string>&#xD800;</string>",
                             "<array><plist><true/></plist></array>"}) {
        EXPECT_FALSE(Read(Xml(body))) << body;
    }
    const std::string good = Xml("<true/>");
    for (const std::string& file :
         {""s, "text"s, "<dict/>"s, good + "x", good + good,
          "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><plist><string>\xE9</string></plist>"s,
          "<!DOCTYPE plist [<!ENTITY a \"b\">]><plist><true/></plist>"s, "bplist00"s}) {
        EXPECT_FALSE(Read(file)) << file;
    }
}

TEST(PropertyList, EveryCutOfAFileIsRefusedAndDamagedBytesNeverCrashTheReader) {
    const auto tree = EveryType();
    for (const CFPropertyListFormat format : kFormats) {
        std::string file = Bytes(Write(tree.Get(), format).Get());
        while (file.ends_with('\n')) {
            file.pop_back();
        }
        for (std::size_t at = 0; at < file.size(); ++at) {
            ASSERT_FALSE(Read(std::string_view(file).substr(0, at))) << at;
            for (const char wrong : {'\0', '\xFF', '<', '\x5F', static_cast<char>(file[at] ^ 1)}) {
                std::string damaged = file;
                damaged[at] = wrong;
                (void)Read(damaged);
            }
        }
    }
}

std::string Nested(int depth) {
    std::string body;
    for (int i = 0; i < depth; ++i) {
        body = "<array>" + body + "</array>";
    }
    return Xml(body);
}

TEST(PropertyList, NestingEndsAt256) {
    const auto deep = Read(Nested(256));
    ASSERT_TRUE(deep);
    EXPECT_FALSE(Read(Nested(257)));
    const auto deeper = Array();
    CFArrayAppendValue(deeper.Get(), deep.Get());
    for (const CFPropertyListFormat format : kFormats) {
        EXPECT_TRUE(Read(Bytes(Write(deep.Get(), format).Get())));
        EXPECT_FALSE(Write(deeper.Get(), format));
    }
    EXPECT_EQ(CFPropertyListCreateDeepCopy(nullptr, deeper.Get(), kCFPropertyListImmutable),
              nullptr);
}

// A binary list of these objects, the first on top.
std::string BinaryList(const std::vector<std::string>& objects) {
    std::string file = "bplist00";
    std::string table;
    for (const std::string& object : objects) {
        table.push_back(static_cast<char>(file.size()));
        file += object;
    }
    const auto position = static_cast<char>(file.size());
    return file + table + std::string(6, '\0') + "\1\1" + std::string(7, '\0') +
           static_cast<char>(objects.size()) + std::string(15, '\0') + position;
}

// Arrays that each hold the next one twice; the last is empty, or holds the first.
std::string SharedArrays(int levels, bool cycle) {
    std::vector<std::string> objects;
    for (int i = 1; i <= levels; ++i) {
        objects.push_back({'\xA2', static_cast<char>(i), static_cast<char>(i)});
    }
    objects.push_back(cycle ? std::string("\xA1\0", 2) : std::string("\xA0"));
    return BinaryList(objects);
}

TEST(PropertyList, SharedObjectsCannotOutgrowMemory) {
    EXPECT_TRUE(Read(SharedArrays(8, false)));
    EXPECT_FALSE(Read(SharedArrays(50, false))) << "2^50 values";
    EXPECT_FALSE(Read(SharedArrays(1, true)));
    auto tree = Array();
    for (int level = 0; level < 50; ++level) {
        const auto outer = Array();
        CFArrayAppendValue(outer.Get(), tree.Get());
        CFArrayAppendValue(outer.Get(), tree.Get());
        tree = CFRef<CFMutableArrayRef>::Retained(outer.Get());
    }
    EXPECT_FALSE(CFPropertyListCreateDeepCopy(nullptr, tree.Get(), kCFPropertyListImmutable));
}

std::string InBigEndian(std::string_view text, std::size_t unit) {
    std::string file;
    for (const char c : text) {
        file += std::string(unit - 1, '\0') + c;
    }
    return file;
}

TEST(PropertyList, WhatAnotherReaderCouldTakeIsToldFromWhatNobodyCan) {
    const std::string plain = "<plist><dict><key>a</key><string>b</string></dict></plist>";
    const std::string table = BinaryList({"\x50"s});
    const std::string latin = "<?xml version='1.0' encoding = 'ISO-8859-1'?><plist><string>";
    for (const std::string& file : {Xml("<integer>99999999999999999999</integer>"),
                                    Xml("<date>2024-01-02Z</date>"),
                                    Xml("<data>!</data>"),
                                    Xml("<string>&unknown;</string>"),
                                    Xml("<note><true/></note>"),
                                    Xml("<dict><key/><key>a</key><true/></dict>"),
                                    "<dict/>"s,
                                    plain + "x",
                                    latin + "\xE9</string></plist>",
                                    latin + "\u00E9</string></plist>",
                                    "<!DOCTYPE plist [<!-- ]> --><!ELEMENT plist ']>'>]>" + plain,
                                    "\xFE\xFF" + InBigEndian(plain, 2),
                                    InBigEndian(plain, 2),
                                    InBigEndian(plain, 2).substr(1) + '\0',
                                    InBigEndian(plain, 4),
                                    "\xFF\xFE\0\0"s + InBigEndian("{}", 4).substr(3) + "\0\0\0"s,
                                    "// x\n{ \"a b\" = (1, <00ff>, {},); c; d = '\\''; }"s,
                                    "a = b; /* c */ \"d\" = \"e\";"s,
                                    "[1.5e+3, {\"a\": null, \"b\": [true]}]"s,
                                    SharedArrays(50, false),
                                    SharedArrays(1, true),
                                    BinaryList({"\0"s}),
                                    BinaryList({"\xD1\1\2"s, "\x10\5"s, "\x62\xD8\0\0a"s}),
                                    BinaryList({"\xC1\1"s, "\x14" + std::string(16, '\xFF')})}) {
        EXPECT_FALSE(Read(file)) << file;
        EXPECT_TRUE(PlatformPropertyListIsForeign(Data(file).Get())) << file;
    }
    const std::string inverted = table.substr(0, table.size() - 1) + '\x7F';
    for (const std::string& file : {""s,
                                    "word"s,
                                    "several words"s,
                                    "{ a = b"s,
                                    "( a b )"s,
                                    "{ a = b; ]"s,
                                    "a = b"s,
                                    "[1, \"]"s,
                                    "<0f0>"s,
                                    "{ a = 1; /* }"s,
                                    std::string(64, '\0'),
                                    plain.substr(0, plain.size() - 1),
                                    InBigEndian(plain, 2).substr(1),
                                    InBigEndian(plain.substr(0, 30), 4),
                                    "<plist><string>\xE9</string></plist>"s,
                                    "<html><body/></html>"s,
                                    "x" + plain,
                                    Xml(""),
                                    Xml("<dict><true/></dict>"),
                                    Xml("<dict><key>a</key></dict>"),
                                    Xml("<dict><key>a</key><key>b</key><true/></dict>"),
                                    Xml("<array><key>a</key></array>"),
                                    Xml("<integer>12a</integer>"),
                                    Xml("<real>x</real>"),
                                    Xml("<date>2024-13-01T00:00:00Z</date>"),
                                    Xml("<string>a & b</string>"),
                                    Xml("<string>"s + '\0' + "</string>"),
                                    Xml("<array></dict>"),
                                    "bplist00"s,
                                    inverted,
                                    table.substr(0, table.size() - 1),
                                    BinaryList({"\xA1\7"s}),
                                    BinaryList({"\x5F\x10\x60"s}),
                                    BinaryList({"\xD1\1\1"s, "\xA0"s}),
                                    BinaryList({"\x70"s})}) {
        EXPECT_FALSE(Read(file)) << file;
        EXPECT_FALSE(PlatformPropertyListIsForeign(Data(file).Get())) << file;
    }
    EXPECT_TRUE(Read(latin + "a</string></plist>")) << "ASCII is the same in all of them";
    EXPECT_FALSE(PlatformPropertyListIsForeign(Data(plain).Get()));
}

TEST(PropertyList, WhatCanBeWrittenCanBeRead) {
    const auto entries = Dictionary();
    for (int i = 0; i < 65535; ++i) {
        Set(entries.Get(), std::to_string(i), kCFBooleanTrue);
    }
    const auto references = Array();
    const auto text = Value(std::string(1024, 'x'));
    for (int i = 0; i < 63000; ++i) {
        CFArrayAppendValue(references.Get(), text.Get());
    }
    const std::pair<CFTypeRef, CFPropertyListFormat> cases[] = {{entries.Get(), kFormats[0]},
                                                                {entries.Get(), kFormats[1]},
                                                                {references.Get(), kFormats[1]}};
    for (const bool within : {true, false}) {
        for (const auto& [tree, format] : cases) {
            const auto file = Write(tree, format);
            ASSERT_EQ(bool(file), within);
            EXPECT_TRUE(!file || Read(Bytes(file.Get())));
        }
        Set(entries.Get(), "one more", kCFBooleanTrue);
        CFArrayAppendValue(references.Get(), Data(std::string(1 << 20, 'x')).Get());
    }
}

TEST(PropertyList, SurrogatesComeInPairs) {
    EXPECT_EQ(Text(Read(BinaryList({"\x62\xD8\x3D\xDE"s + '\0'})).Get()), "\xF0\x9F\x98\x80");
    for (const std::string& units :
         {"\x61\xD8\x3D"s, "\x61\xDE\1"s, "\x62\xDE\1\xD8\x3D"s, "\x62\xD8\x3D\1\1"s}) {
        EXPECT_FALSE(Read(BinaryList({units})));
    }
}

TEST(PropertyList, OnlyWhatWasAskedForCanBeChanged) {
    const std::string file = Xml("<dict><key>l</key><array/><key>d</key><data>AA==</data></dict>");
    for (const auto& [options, containers, leaves] :
         Rows<CFOptionFlags, bool, bool>{{kCFPropertyListImmutable, false, false},
                                         {kCFPropertyListMutableContainers, true, false},
                                         {kCFPropertyListMutableContainersAndLeaves, true, true}}) {
        const auto source = Read(file);
        const CFRef<CFTypeRef> copied(CFPropertyListCreateDeepCopy(nullptr, source.Get(), options));
        const auto read = Read(file, options);
        for (const CFTypeRef tree : {copied.Get(), read.Get()}) {
            auto* map = static_cast<CFMutableDictionaryRef>(const_cast<void*>(tree));
            auto* list = static_cast<CFMutableArrayRef>(const_cast<void*>(Get(tree, "l")));
            auto* data = static_cast<CFMutableDataRef>(const_cast<void*>(Get(tree, "d")));
            CFArrayAppendValue(list, kCFBooleanTrue);
            EXPECT_EQ(CFArrayGetCount(list), containers ? 1 : 0);
            CFDataAppendBytes(data, reinterpret_cast<const UInt8*>("x"), 1);
            EXPECT_EQ(CFDataGetLength(data), leaves ? 2 : 1);
            Set(map, "new", kCFBooleanTrue);
            CFDictionaryRemoveValue(map, String("l").Get());
            EXPECT_THAT(Keys(map), ElementsAre("d", containers ? "new" : "l"));
        }
        EXPECT_TRUE(CFEqual(source.Get(), Read(file).Get()));
    }
}

// A program of the same values, in both directions and both forms.
TEST(PropertyList, AnotherImplementationReadsOurFilesAndWeReadIts) {
    const TempFolder folder;
    const std::string script = WriteFile(folder / "check.py", R"(
import datetime, plistlib, sys
tree = {'': True, 'f': False, 'i': -5, 'u': 2**63 + 1, 'r': 0.1, 'd': b'\0\1\xff', 'e': {},
        's': '&<>"\'\u00e9\U0001f600\n\t', 'l': [1, [2.5], 'x'], '\u0416&<': 'k',
        't': datetime.datetime(2024, 2, 29, 12, 34, 56), 'o': datetime.datetime(1604, 1, 1)}
forms = {'xml': plistlib.FMT_XML, 'binary': plistlib.FMT_BINARY}
for name, form in forms.items():
    path = sys.argv[2] + '/' + name
    if sys.argv[1] == 'write':
        plistlib.dump(tree, open(path + '.plist', 'wb'), fmt=form)
    else:
        assert plistlib.load(open(path + '.again', 'rb'), fmt=form) == tree, name
)");
    const std::string program = "python3 " + script;
    ASSERT_EQ(std::system((program + " write " + folder.Path()).c_str()), 0);
    for (const auto& [name, format] : {std::pair("xml", kFormats[0]), {"binary", kFormats[1]}}) {
        const auto tree = Read(ReadFile(folder / (std::string(name) + ".plist")));
        ASSERT_TRUE(tree) << name;
        EXPECT_TRUE(CFEqual(Get(tree.Get(), "t"), Date(730902896).Get()));
        const auto* above = static_cast<CFNumberRef>(Get(tree.Get(), "u"));
        SInt64 value = 0;
        EXPECT_FALSE(CFNumberGetValue(above, kCFNumberSInt64Type, &value));
        EXPECT_EQ(value, std::numeric_limits<SInt64>::max());
        EXPECT_EQ(Text(Get(tree.Get(), "s")), "&<>\"'\u00E9\xF0\x9F\x98\x80\n\t") << name;
        WriteFile(folder / (std::string(name) + ".again"), Bytes(Write(tree.Get(), format).Get()));
    }
    EXPECT_EQ(std::system((program + " read " + folder.Path()).c_str()), 0);
}

} // namespace
} // namespace velnor::testing
