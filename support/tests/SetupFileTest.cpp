#include "support/SetupFile.h"
#include "platform/tests/Testing.h"

namespace velnor::test {
namespace {

std::string setup(const std::string& children) {
    return "<OrmoSetup>" + children + "</OrmoSetup>";
}

std::string property(const std::string& name, const std::string& value) {
    return "<Property name=\"" + name + "\" value='" + value + "'/>";
}

TEST(SetupFile, EveryVendorAndProductMustAgree) {
    const std::string good = property("vendor", "Tavo") + property("product", "Tarn 12");
    std::string many;
    std::string deep;
    for (int i = 0; i < 300000; ++i) {
        many += i < 10000 ? property("x", "y") : "";
        deep += "<a>";
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
             {setup(good + std::string(1 << 20, ' ')), "Could not load file"}}) {
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
} // namespace velnor::test
