#include "host/InfoCommand.h"

#include "host/ComponentFinder.h"
#include "host/Instrument.h"
#include "host/PlatformText.h"
#include "host/PropertyNames.h"
#include "host/Table.h"

#include <cstdio>
#include <cstring>
#include <utility>

#include <nlohmann/json.hpp>

namespace velnor::host {

namespace {

using Json = nlohmann::ordered_json;

constexpr std::pair<AudioUnitScope, const char*> kScopes[] = {{kAudioUnitScope_Global, "global"},
                                                              {kAudioUnitScope_Input, "input"},
                                                              {kAudioUnitScope_Output, "output"},
                                                              {kAudioUnitScope_Group, "group"},
                                                              {kAudioUnitScope_Part, "part"}};

std::string versionText(SInt32 version) {
    const auto bits = static_cast<UInt32>(version);
    return std::to_string(bits >> 16) + "." + std::to_string(bits >> 8 & 0xFF) + "." +
           std::to_string(bits & 0xFF);
}

Json componentJson(Component component) {
    const ComponentDescription description = descriptionOf(component);
    return {{"name", nameOf(component)},
            {"type", codeText(description.componentType)},
            {"subtype", codeText(description.componentSubType)},
            {"manufacturer", codeText(description.componentManufacturer)},
            {"version", versionText(PlatformComponentRegisteredVersion(component))},
            {"bundle", bundlePathOf(component)}};
}

Json busJson(AudioUnit unit, UInt32 bus) {
    AudioStreamBasicDescription format = {};
    UInt32 size = sizeof format;
    AudioUnitGetProperty(unit, kAudioUnitProperty_StreamFormat, kAudioUnitScope_Output, bus,
                         &format, &size);
    return {{"bus", bus + 1},
            {"channels", format.mChannelsPerFrame},
            {"rate", format.mSampleRate},
            {"format", codeText(format.mFormatID)},
            {"flags", format.mFormatFlags},
            {"bits", format.mBitsPerChannel}};
}

Json configurationsJson(AudioUnit unit) {
    UInt32 size = 0;
    Json list = Json::array();
    if (AudioUnitGetPropertyInfo(unit, kAudioUnitProperty_SupportedNumChannels,
                                 kAudioUnitScope_Global, 0, &size, nullptr) != noErr)
        return list;
    std::vector<AUChannelInfo> infos(size / sizeof(AUChannelInfo));
    AudioUnitGetProperty(unit, kAudioUnitProperty_SupportedNumChannels, kAudioUnitScope_Global, 0,
                         infos.data(), &size);
    for (const AUChannelInfo& info : infos)
        list.push_back({{"inputs", info.inChannels}, {"outputs", info.outChannels}});
    return list;
}

Json propertiesJson(AudioUnit unit) {
    Json list = Json::array();
    for (const PropertyName& property : knownProperties())
        for (const auto& [scope, scopeName] : kScopes) {
            UInt32 size = 0;
            Boolean writable = 0;
            if (AudioUnitGetPropertyInfo(unit, property.id, scope, 0, &size, &writable) != noErr)
                continue;
            list.push_back({{"id", property.id},
                            {"name", property.name},
                            {"scope", scopeName},
                            {"size", size},
                            {"writable", writable != 0}});
        }
    return list;
}

Json instrumentJson(Component component, const Instrument& instrument) {
    Json json = componentJson(component);
    json["running version"] = versionText(GetComponentVersion(instrument.unit()));
    json["buses"] = Json::array();
    for (UInt32 bus = 0; bus < instrument.busCount(); ++bus)
        json["buses"].push_back(busJson(instrument.unit(), bus));
    json["channel configurations"] = configurationsJson(instrument.unit());
    json["properties"] = propertiesJson(instrument.unit());
    return json;
}

std::string cell(const Json& value) {
    return value.is_string() ? value.get<std::string>() : value.dump();
}

void printTable(const Json& rows, const std::vector<std::string>& heads) {
    Table table(heads);
    for (const Json& row : rows) {
        std::vector<std::string> cells;
        cells.reserve(heads.size());
        for (const std::string& head : heads)
            cells.push_back(row[head].is_boolean() ? (row[head] ? "yes" : "no") : cell(row[head]));
        table.add(std::move(cells));
    }
    table.print();
}

void printFacts(const Json& json) {
    for (const char* key :
         {"name", "type", "subtype", "manufacturer", "version", "running version", "bundle"})
        std::printf("%-16s %s\n", key, cell(json[key]).c_str());
}

void printJson(const Json& json) {
    std::printf("%s\n", json.dump(2, ' ', false, Json::error_handler_t::replace).c_str());
}

} // namespace

void componentsCommand(bool json) {
    Json list = Json::array();
    for (Component component : installedComponents())
        list.push_back(componentJson(component));
    if (json)
        return printJson(list);
    if (list.empty())
        std::printf("No components are installed. See: velnor-host install --help\n");
    else
        printTable(list, {"name", "type", "subtype", "manufacturer", "version", "bundle"});
}

void infoCommand(const std::string& word, bool json) {
    const Component component = findInstrument(word);
    const Instrument instrument(component);
    const Json all = instrumentJson(component, instrument);
    if (json)
        return printJson(all);
    printFacts(all);
    std::printf("\nOutput buses\n");
    printTable(all["buses"], {"bus", "channels", "rate", "format", "flags", "bits"});
    std::printf("\nChannel configurations (-n: any number up to n)\n");
    printTable(all["channel configurations"], {"inputs", "outputs"});
    std::printf("\nProperties\n");
    printTable(all["properties"], {"id", "scope", "size", "writable", "name"});
}

} // namespace velnor::host
