#include "host/SetupFileCheck.h"

#include <tinyxml.h>

#include <unistd.h>

namespace velnor::host {

std::string checkSetupFile(const std::string& path, const ProductNames& names) {
    if (access(path.c_str(), F_OK) != 0)
        return "missing (install --write-setup makes one)";
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
