#include "host/commands/CommandLine.h"

int main(int argc, char** argv) {
    return velnor::host::runCommandLine(argc, argv);
}
