#include "bridge/SamplerAU.h"
#include "platform/Alerts.h"
#include "platform/CFString.h"
#include "support/ConfigStore.h"
#include "support/ConsoleLogger.h"
#include "support/Folders.h"
#include "support/InstallationRegistry.h"
#include "support/LogLine.h"
#include "support/PathStrings.h"
#include "support/ProductDomain.h"

namespace velnor {

int g_instances = 0;

namespace {

constexpr const char* kPluginType = "AU";

constexpr const char* kNoData = "Cannot find data installation, please re-install";
constexpr const char* kNoEngine = "Cannot find engine installation, please re-install";
constexpr const char* kNoEngineFile = "Cannot find engine file, please re-install";
constexpr const char* kNoEntryPoint = "Cannot connect to engine, please re-install";

// The empty text when the text is not ASCII.
CFRef<CFStringRef> asciiString(const std::string& text) {
    CFRef<CFStringRef> string(
        CFStringCreateWithCString(kCFAllocatorDefault, text.c_str(), kCFStringEncodingASCII));
    if (!string) {
        string.Reset(CFStringCreateWithCString(kCFAllocatorDefault, "", kCFStringEncodingASCII));
    }
    return string;
}

} // namespace

void SamplerAU::PostConstructor() {
    CreateElements();
    mUserPath = setUserPath();
    mHostAppPath = PGetCurrentApplicationPath(nullptr);
    mCounted = true;
    if (++g_instances == 1 && !mHostAppPath.empty()) {
        openLog();
    }
    registerOrmoPlugin(recordText(mRecord.vendor), recordText(mRecord.product), kPluginType);
    if (readDataDir() && readEnginePath() && bindEngine()) {
        mEngine.handshake(mDataDir);
    }
}

void SamplerAU::openLog() {
    const std::string host = stripFileExtension(getFileFromPath(mHostAppPath));
    g_logger = std::make_unique<ConsoleLogger>().release();
    g_logger->init(mUserPath + "/" + recordText(mRecord.product) + kPluginType + "_" + host +
                   ".log");
}

std::string SamplerAU::preferencesDomain() const {
    return productDomain(recordText(mRecord.vendor), recordText(mRecord.product));
}

bool SamplerAU::readDataDir() {
    mEnginePath.clear();
    mDataDir.clear();
    if (!readConfigStringValue(preferencesDomain(), ORMO_DATA_DIR_KEY, mDataDir,
                               CONFIG_LEVEL_SEARCH)) {
        fail("Can't get base_dir from configuration", kNoData);
        return false;
    }
    if (mDataDir.size() >= kOrmoDataDirSize) {
        const std::string length = std::to_string(mDataDir.size());
        mDataDir.clear();
        fail("base_dir from configuration is too long : " + length + " bytes", kNoData);
        return false;
    }
    return true;
}

bool SamplerAU::readEnginePath() {
    if (readConfigStringValue(ORMO_ENGINE_DOMAIN, ORMO_ENGINE_PATH_KEY, mEnginePath,
                              CONFIG_LEVEL_USER)) {
        return true;
    }
    fail("Can't get path from configuration", kNoEngine);
    return false;
}

bool SamplerAU::bindEngine() {
    const EngineClient::Binding binding = mEngine.bind(mEnginePath);
    if (binding == EngineClient::Binding::kBound) {
        return true;
    }
    if (const std::string words = mEngine.loaderMessage(); !words.empty()) {
        LogLine(LogSeverity::kInformation, "engine loader : " + words);
    }
    if (binding == EngineClient::Binding::kNoBundle) {
        fail("Can't load engine bundle from : " + mEnginePath, kNoEngineFile);
    } else {
        fail("CFBundleGetFunctionPointerForName failed for ormoOpcode", kNoEntryPoint);
    }
    return false;
}

void SamplerAU::fail(const std::string& logMessage, const char* alertMessage) const {
    LogLine(LogSeverity::kError, logMessage);
    const CFRef<CFStringRef> header =
        asciiString(recordText(mRecord.vendor) + " " + recordText(mRecord.product));
    const CFRef<CFStringRef> message = asciiString(alertMessage);
    CFOptionFlags response = 0;
    CFUserNotificationDisplayAlert(0, kCFUserNotificationStopAlertLevel, nullptr, nullptr, nullptr,
                                   header.Get(), message.Get(), nullptr, nullptr, nullptr,
                                   &response);
}

} // namespace velnor
