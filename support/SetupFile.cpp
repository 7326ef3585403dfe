#include "support/SetupFile.h"

#include "support/XmlExtent.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <memory>
#include <tinyxml.h>

namespace velnor {

namespace {

constexpr std::size_t kLargestFile = std::size_t{64} << 20;
constexpr XmlExtent kLargestTree = {
    .depth = 1024, .nodes = 1 << 18, .attributes = 1024, .compared = 1 << 28};

struct FileCloser {
    void operator()(std::FILE* file) const { std::fclose(file); }
};

// As far as the first zero byte, where a text ends.
bool readWhole(const std::string& path, std::string& text) {
    std::ifstream in(path, std::ios::binary);
    std::array<char, 1 << 16> piece;
    while (in && text.size() <= kLargestFile) {
        in.read(piece.data(), piece.size());
        text.append(piece.data(), static_cast<std::size_t>(in.gcount()));
    }
    const bool isWhole = in.eof() && text.size() <= kLargestFile;
    text.resize(std::min(text.size(), text.find('\0')));
    return isWhole && !text.empty();
}

// Line ends as XML has them.
void normaliseLines(std::string& text) {
    std::size_t to = 0;
    for (std::size_t from = 0; from < text.size(); ++from) {
        const bool isReturn = text[from] == '\r';
        if (!isReturn || from + 1 == text.size() || text[from + 1] != '\n') {
            text[to++] = isReturn ? '\n' : text[from];
        }
    }
    text.resize(to);
}

bool isBearable(const std::string& text) {
    const XmlExtent extent = measureXml(text);
    return extent.depth <= kLargestTree.depth && extent.nodes <= kLargestTree.nodes &&
           extent.attributes <= kLargestTree.attributes &&
           extent.compared <= kLargestTree.compared && !extent.isCut;
}

bool load(const std::string& path, TiXmlDocument& document) {
    std::string text;
    if (!readWhole(path, text)) {
        return false;
    }
    normaliseLines(text);
    if (!isBearable(text)) {
        return false;
    }
    const std::unique_ptr<std::FILE, FileCloser> file(fmemopen(text.data(), text.size(), "rb"));
    return file && document.LoadFile(file.get());
}

struct Expectation {
    const char* name;
    const std::string& value;
};

// True when node is a property of that name with another value, which becomes the message.
bool disagrees(const TiXmlElement& node, const Expectation& expected, std::string& message) {
    const char* name = node.Attribute("name");
    const char* value = node.Attribute("value");
    if (node.ValueStr() != "Property" || name == nullptr || value == nullptr ||
        std::strcmp(name, expected.name) != 0 || expected.value == value) {
        return false;
    }
    message = std::string("incorrect ") + expected.name + " in file " + value;
    return true;
}

} // namespace

bool verifyOrmoSetup(const std::string& vendor, const std::string& product, const std::string& path,
                     std::string& message) {
    TiXmlDocument document;
    if (!load(path, document)) {
        message = "Could not load file";
        return false;
    }
    const TiXmlElement* root = document.FirstChildElement("OrmoSetup");
    if (root == nullptr) {
        message = "Could not find OrmoSetup element";
        return false;
    }
    bool result = true;
    for (const TiXmlElement* node = root->FirstChildElement(); node != nullptr;
         node = node->NextSiblingElement()) {
        for (const Expectation& expected : {Expectation{"vendor", vendor}, {"product", product}}) {
            result = !disagrees(*node, expected, message) && result;
        }
    }
    return result;
}

} // namespace velnor
