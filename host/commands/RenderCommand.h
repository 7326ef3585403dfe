// velnor-host render: a song becomes an audio file.
#ifndef VELNOR_HOST_COMMANDS_RENDERCOMMAND_H
#define VELNOR_HOST_COMMANDS_RENDERCOMMAND_H

#include "host/audio/AudioFile.h"
#include "host/render/SongRenderer.h"

#include <string>
#include <vector>

namespace velnor::host {

struct RenderOptions {
    std::string song;
    std::string output;
    std::string component;  // see findInstrument
    std::string preset;     // to begin with; empty: none
    std::string savePreset; // at the end; empty: none
    AudioFormat format;     // the channel count is the instrument's
    RenderPlan plan;
    std::vector<UInt32> buses; // channels of each; empty: as the instrument opens
    bool split = false;        // a file per bus
    bool bestQuality = false;  // of the engine, instead of its usual one
    bool realtime = false;     // the instrument is told that it renders in real time
    bool allowSilence = false; // go on without an engine
};

// Throws JobError. Prints one line on standard error when it is done.
void renderCommand(const RenderOptions& options);

} // namespace velnor::host

#endif
