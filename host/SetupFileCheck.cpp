#include "host/SetupFileCheck.h"

#include <filesystem>

#include <tinyxml.h>

namespace velnor::host {

std::string checkSetupFile(const std::string& path, const ProductNames& names) {
    std::error_code error;
    const auto status = std::filesystem::status(path, error);
    if (!std::filesystem::exists(status))
        return "missing (install --write-setup makes one)";
    if (!std::filesystem::is_regular_file(status))
        return "it is no regular file; remove it";
    TiXmlDocument document;
    if (!document.LoadFile(path.c_str()))
        return "it cannot be read as XML";
    const TiXmlElement* root = document.FirstChildElement("OrmoSetup");
    if (!root)
        return "it has no OrmoSetup element";
    for (const TiXmlElement* property = root->FirstChildElement("Property"); property;
         property = property->NextSiblingElement("Property")) {
        const char* name = property->Attribute("name");
        const char* value = property->Attribute("value");
        if (!name || !value)
            continue;
        if (std::string(name) == "vendor" && value != names.vendor)
            return std::string("it is for the vendor ") + value;
        if (std::string(name) == "product" && value != names.product)
            return std::string("it is for the product ") + value;
    }
    return "";
}

} // namespace velnor::host
