#include "support/SetupFile.h"

#include "testing/Testing.h"

namespace velnor::testing {
namespace {

std::string setup(const std::string& children) {
    return "<OrmoSetup>" + children + "</OrmoSetup>";
}

std::string property(const std::string& name, const std::string& value) {
    return "<Property name=\"" + name + "\" value='" + value + "'/>";
}

// In each element something that hides an end where it counts none.
std::string nested(std::size_t depth) {
    constexpr const char* kHidden[] = {"<!-- </a> -->", "<![CDATA[</a>]]>",        "<?x </a>",
                                       "<b c='</a>'/>", "<?xml version='></a>'?>", "<b c=<a></b>",
                                       "&#</a>#65;"};
    std::string text;
    for (std::size_t i = 0; i < depth; ++i) {
        text += std::string("<a>") + kHidden[i % std::size(kHidden)];
    }
    for (std::size_t i = 0; i < depth; ++i) {
        text += "</a>";
    }
    return text;
}

TEST(SetupFile, EveryVendorAndProductMustAgree) {
    const std::string good = property("vendor", "Tavo") + property("product", "Tarn 12");
    std::string many;
    std::string deep;
    for (int i = 0; i < 300000; ++i) {
        many += i < 10000 ? property("x", "y") : "";
        deep += "<a>";
    }
    std::string flat;
    std::string attributes;
    std::string longNames;
    for (int i = 0; i < 2048; ++i) {
        flat += "<a>" + std::string(16 << 10, '>') + "</a>";
        attributes += " a" + std::to_string(i) + "=''";
        longNames += i < 1000 ? " a" + std::string(1000, 'x') + std::to_string(i) + "=''" : "";
    }
    const TempFolder folder;
    for (const auto& [content, expected] : Rows<std::string, std::string>{
             {setup(good), ""},
             {"\xEF\xBB\xBF<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n<!-- x -->" + setup(good),
              ""},
             {setup(""), ""},
             {"<OrmoSetup/>", ""},
             {"<Other/>" + setup(good), ""},
             {setup("text<Property name='vendor'/><Property value='X'/><Prop name='vendor' "
                    "value='X'/><property name='vendor' value='X'/><!--x--><a>" +
                    property("vendor", "X") + "</a>" + property("Vendor", "X")),
              ""},
             {setup(good + property("vendor", "X")), "incorrect vendor in file X"},
             {setup(property("vendor", "tavo") + good), "incorrect vendor in file tavo"},
             {setup(property("product", "") + good), "incorrect product in file "},
             {setup(property("product", "P") + property("vendor", "V") + good),
              "incorrect vendor in file V"},
             {setup(property("vendor", "V") + property("product", "P&amp;\xC3\xA9")),
              "incorrect product in file P&\xC3\xA9"},
             {"<Setup/>", "Could not find OrmoSetup element"},
             {"<a>" + setup(good) + "</a>", "Could not find OrmoSetup element"},
             {"", "Could not load file"},
             {"<OrmoSetup>" + good, "Could not load file"},
             {setup(many), ""},
             {deep, "Could not load file"},
             {setup(good + flat), ""},
             {setup(good + nested(1023)), ""},
             {setup(good + nested(1024)), "Could not load file"},
             {setup("<a" + attributes + "/>"), "Could not load file"},
             {setup("<a" + longNames + "/>"), "Could not load file"},
             {setup(good) + std::string("\0<", 2), ""},
             {"<!-- x --><?xml encoding='UTF-8'?>" + setup(property("vendor", "&#xE9;")),
              "incorrect vendor in file \xC3\xA9"},
             {setup(property("vendor", "&#xE9;")), "incorrect vendor in file \xE9"},
             {setup(good + std::string(64 << 20, ' ')), "Could not load file"}}) {
        const std::string path = WriteFile(folder / "OrmoSetup.xml", content);
        std::string message;
        EXPECT_EQ(verifyOrmoSetup("Tavo", "Tarn 12", path, message), expected.empty());
        EXPECT_EQ(message, expected) << content.substr(0, 200);
    }
}

TEST(SetupFile, WhatCannotBeReadDoesNotLoad) {
    const TempFolder folder;
    for (const std::string& path : {folder / "none.xml", folder.Path()}) {
        std::string message;
        EXPECT_FALSE(verifyOrmoSetup("Tavo", "Tarn 12", path, message));
        EXPECT_EQ(message, "Could not load file");
    }
}

} // namespace
} // namespace velnor::testing
