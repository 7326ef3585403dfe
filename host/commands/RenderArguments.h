// The command line of velnor-host render.
#ifndef VELNOR_HOST_COMMANDS_RENDERARGUMENTS_H
#define VELNOR_HOST_COMMANDS_RENDERARGUMENTS_H

#include "host/commands/RenderCommand.h"

#include <string>

namespace CLI {
class App;
}

namespace velnor::host {

struct RenderArguments {
    RenderOptions options;
    std::string format;
    std::string bits = "16";
    std::string tail = "auto";
    std::string buses;
    std::string quality = "normal";
};

// Adds the command; arguments is filled by the parse, which then runs the render.
void addRender(CLI::App& app, RenderArguments& arguments);

} // namespace velnor::host

#endif
