// A plug-in's worth of the support library: what registers is the bundle that this is linked into.
#include "support/ConsoleLogger.h"
#include "support/InstallationRegistry.h"

// The module has a log of its own, as every plug-in file has.
extern "C" __attribute__((visibility("default"))) bool
moduleRegister(const char* vendor, const char* product, const char* type, const char* logPath) {
    ConsoleLogger logger;
    logger.init(logPath);
    return velnor::registerOrmoPlugin(vendor, product, type);
}
