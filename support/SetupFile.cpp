#include "support/SetupFile.h"

#include <tinyxml.h>

#include <array>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <memory>

namespace velnor {

namespace {

constexpr std::size_t kLargestFile = std::size_t{1} << 20;
constexpr std::size_t kMostOpenTags = 4096;

struct FileCloser {
    void operator()(std::FILE* file) const { std::fclose(file); }
};

bool readWhole(const std::string& path, std::string& text) {
    std::ifstream in(path, std::ios::binary);
    std::array<char, 4096> piece;
    while (in && text.size() <= kLargestFile) {
        in.read(piece.data(), piece.size());
        text.append(piece.data(), static_cast<std::size_t>(in.gcount()));
    }
    return in.eof() && !text.empty() && text.size() <= kLargestFile &&
           text.find('\0') == std::string::npos;
}

// The parser recurses once per element inside another, to any depth. An element that can hold
// others begins with a tag whose ">" does not follow a "/", whatever the encoding makes of the
// bytes before it: so the number of those bounds the depth.
bool nestsTooDeep(const std::string& text) {
    std::size_t openTags = 0;
    for (std::size_t i = 0; i < text.size(); ++i)
        openTags += text[i] == '>' && (i == 0 || text[i - 1] != '/');
    return openTags > kMostOpenTags;
}

bool load(const std::string& path, TiXmlDocument& document) {
    std::string text;
    if (!readWhole(path, text) || nestsTooDeep(text))
        return false;
    const std::unique_ptr<std::FILE, FileCloser> file(fmemopen(text.data(), text.size(), "rb"));
    return file && document.LoadFile(file.get(), TIXML_ENCODING_UNKNOWN);
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
        std::strcmp(name, expected.name) != 0 || expected.value == value)
        return false;
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
        for (const Expectation& expected : {Expectation{"vendor", vendor}, {"product", product}})
            result = !disagrees(*node, expected, message) && result;
    }
    return result;
}

} // namespace velnor
