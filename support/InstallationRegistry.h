// The plug-ins installed per product: in the preferences of "com." + vendor + "." + product, one
// list per plug-in format,
//   "Plugins" / format / slot / "path"     the bundle's folder
//   "Plugins" / format / slot / "version"  its version
// with the slots "000", "001", ... An entry counts when it has both.
//
// Thread main, exclusive, may block.
#ifndef VELNOR_SUPPORT_INSTALLATIONREGISTRY_H
#define VELNOR_SUPPORT_INSTALLATIONREGISTRY_H

#include <string>
#include <vector>

namespace velnor {

struct PluginInfo {
    std::string slot;
    std::string path;
    std::string version;
};

// Records the bundle that this code was linked into, or its new version. type is the format word,
// "AU" or "VST". False when this code is part of the program itself or its image has no name, when
// a new entry's path cannot be written, or the first entry's version. The bundle, a change of
// version and failed writes are logged.
bool registerOrmoPlugin(const std::string& vendor, const std::string& product,
                        const std::string& type);

// listPluginPathVersion for "VST" and for "AU".
bool listVSTPathVersion(const std::string& vendor, const std::string& product,
                        std::vector<PluginInfo>& out);
bool listAUPathVersion(const std::string& vendor, const std::string& product,
                       std::vector<PluginInfo>& out);

} // namespace velnor

// Appends the complete entries in the store's order, which ascends as text. True when there was
// one.
bool listPluginPathVersion(const std::string& vendor, const std::string& product,
                           std::vector<velnor::PluginInfo>& out, const std::string& type);

#endif
