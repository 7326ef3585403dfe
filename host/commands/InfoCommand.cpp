#include "host/commands/InfoCommand.h"

#include "host/install/NextStep.h"
#include "host/instrument/ComponentFinder.h"
#include "host/instrument/Instrument.h"
#include "host/instrument/PropertyNames.h"
#include "host/job/PlatformText.h"
#include "host/job/Table.h"
#include "host/job/Terminal.h"

#include <cstring>
#include <nlohmann/json.hpp>
#include <utility>

namespace velnor::host {

namespace {

using Json = nlohmann::ordered_json;

constexpr std::size_t kHeadWidth = 17;

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
                                 kAudioUnitScope_Global, 0, &size, nullptr) != noErr) {
        return list;
    }
    std::vector<AUChannelInfo> infos(size / sizeof(AUChannelInfo));
    AudioUnitGetProperty(unit, kAudioUnitProperty_SupportedNumChannels, kAudioUnitScope_Global, 0,
                         infos.data(), &size);
    for (const AUChannelInfo& info : infos) {
        list.push_back({{"inputs", info.inChannels}, {"outputs", info.outChannels}});
    }
    return list;
}

Json propertiesJson(AudioUnit unit) {
    Json list = Json::array();
    for (const PropertyName& property : knownProperties()) {
        for (const auto& [scope, scopeName] : kScopes) {
            UInt32 size = 0;
            Boolean writable = 0;
            if (AudioUnitGetPropertyInfo(unit, property.id, scope, 0, &size, &writable) != noErr) {
                continue;
            }
            list.push_back({{"id", property.id},
                            {"name", property.name},
                            {"scope", scopeName},
                            {"size", size},
                            {"writable", writable != 0}});
        }
    }
    return list;
}

// What a host would open for each editor that the instrument lists.
Json editorsJson(AudioUnit unit) {
    UInt32 size = 0;
    Json list = Json::array();
    if (AudioUnitGetPropertyInfo(unit, kAudioUnitProperty_GetUIComponentList,
                                 kAudioUnitScope_Global, 0, &size, nullptr) != noErr) {
        return list;
    }
    std::vector<ComponentDescription> editors(size / sizeof(ComponentDescription));
    if (AudioUnitGetProperty(unit, kAudioUnitProperty_GetUIComponentList, kAudioUnitScope_Global, 0,
                             editors.data(), &size) != noErr) {
        return list;
    }
    for (const ComponentDescription& editor : editors) {
        if (Component view = PlatformFindComponentFor(unit, &editor)) {
            list.push_back(componentJson(view));
        }
    }
    return list;
}

Json instrumentJson(Component component, const Instrument& instrument) {
    Json json = componentJson(component);
    json["running version"] = versionText(GetComponentVersion(instrument.unit()));
    json["buses"] = Json::array();
    for (UInt32 bus = 0; bus < instrument.busCount(); ++bus) {
        json["buses"].push_back(busJson(instrument.unit(), bus));
    }
    json["editors"] = editorsJson(instrument.unit());
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
        for (const std::string& head : heads) {
            cells.push_back(row[head].is_boolean() ? (row[head] ? "yes" : "no") : cell(row[head]));
        }
        table.add(std::move(cells));
    }
    table.print();
}

void printFacts(const Json& json) {
    for (const char* key :
         {"name", "type", "subtype", "manufacturer", "version", "running version", "bundle"}) {
        std::string head = key;
        head.resize(kHeadWidth, ' ');
        printLine(head + cell(json[key]));
    }
}

void printJson(const Json& json) {
    printText(json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n");
}

// Below the list, for the person who reads it.
void printNextSteps() {
    for (Component component : installedComponents()) {
        const std::string bundle = bundlePathOf(component);
        if (descriptionOf(component).componentType == kAudioUnitType_MusicDevice &&
            !isSetUp(bundle)) {
            printNotice(nameOf(component) +
                        " is not set up for you yet; run: " + setUpCommand(bundle));
        }
    }
}

} // namespace

void componentsCommand(bool json) {
    Json list = Json::array();
    for (Component component : installedComponents()) {
        list.push_back(componentJson(component));
    }
    if (json) {
        return printJson(list);
    }
    if (list.empty()) {
        printLine("No components are installed. See: velnor-host install --help");
    } else {
        printTable(list, {"name", "type", "subtype", "manufacturer", "version", "bundle"});
        printNextSteps();
    }
}

void infoCommand(const std::string& word, bool json) {
    const Component component = findInstrument(word);
    const Instrument instrument(component);
    const Json all = instrumentJson(component, instrument);
    if (json) {
        return printJson(all);
    }
    printFacts(all);
    printText("\nOutput buses\n");
    printTable(all["buses"], {"bus", "channels", "rate", "format", "flags", "bits"});
    printText("\nEditors\n");
    printTable(all["editors"], {"name", "type", "subtype", "manufacturer", "bundle"});
    printText("\nChannel configurations (-n: any number up to n)\n");
    printTable(all["channel configurations"], {"inputs", "outputs"});
    printText("\nProperties\n");
    printTable(all["properties"], {"id", "scope", "size", "writable", "name"});
}

} // namespace velnor::host
