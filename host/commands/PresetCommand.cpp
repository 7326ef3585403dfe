#include "host/commands/PresetCommand.h"

#include "host/instrument/ComponentFinder.h"
#include "host/instrument/Instrument.h"
#include "host/instrument/PresetFile.h"
#include "host/instrument/PresetText.h"
#include "host/job/DistinctFiles.h"
#include "host/job/JobError.h"
#include "host/job/Terminal.h"

#include <vector>

namespace velnor::host {

namespace {

constexpr UInt32 kBlock = 512;

} // namespace

void showPreset(const std::string& path) {
    for (const std::string& line : linesOf(readPreset(path).Get())) {
        printLine(line);
    }
}

void savePreset(const std::string& path, const std::string& component, const std::string& from) {
    requireDistinctFiles({from}, {path});
    Instrument instrument(findInstrument(component));
    instrument.setMaximumFrames(kBlock);
    instrument.initialize();
    if (!instrument.hasEngine()) {
        throw JobError("the instrument has no working engine, and a preset would hold no sound; "
                       "run: velnor-host doctor");
    }
    if (!from.empty()) {
        restoreState(instrument.unit(), readPreset(from).Get(), from);
    }
    writePreset(path, stateOf(instrument.unit()).Get());
}

bool diffPresets(const std::string& a, const std::string& b) {
    const std::vector<std::string> lines = differencesOf(readPreset(a).Get(), readPreset(b).Get());
    for (const std::string& line : lines) {
        printLine(line);
    }
    return lines.empty();
}

} // namespace velnor::host
