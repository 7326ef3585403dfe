#include "bridge/EngineClient.h"

#include "platform/CFString.h"
#include "platform/CFURL.h"
#include "support/LogLine.h"

#include <cstring>
#include <limits>
#include <utility>

namespace velnor {

namespace {

constexpr const char* kCompatVersion = "1025";

CFRef<CFBundleRef> createBundle(const std::string& path) {
    const CFRef<CFStringRef> text(
        CFStringCreateWithCString(kCFAllocatorDefault, path.c_str(), kCFStringEncodingUTF8));
    if (!text) {
        return {};
    }
    const CFRef<CFURLRef> url(
        CFURLCreateWithFileSystemPath(kCFAllocatorDefault, text.Get(), kCFURLPOSIXPathStyle, true));
    if (!url) {
        return {};
    }
    return CFRef<CFBundleRef>(CFBundleCreate(kCFAllocatorDefault, url.Get()));
}

} // namespace

EngineClient::Binding EngineClient::bind(const std::string& enginePath) {
    mEngineBundle = createBundle(enginePath);
    if (!mEngineBundle) {
        return Binding::kNoBundle;
    }
    CFRetain(mEngineBundle.Get()); // never given back: keeps the code loaded for the process's life
    CFBundleLoadExecutable(mEngineBundle.Get());
    const CFRef<CFStringRef> name(
        CFStringCreateWithCString(kCFAllocatorDefault, ORMO_ENTRY_NAME, kCFStringEncodingUTF8));
    mOpcodeProc = reinterpret_cast<OrmoOpcodeProc>(
        CFBundleGetFunctionPointerForName(mEngineBundle.Get(), name.Get()));
    return isBound() ? Binding::kBound : Binding::kNoEntryPoint;
}

std::string EngineClient::loaderMessage() const {
    return mEngineBundle ? PlatformBundleGetLoadError(mEngineBundle.Get()) : std::string();
}

void EngineClient::handshake(const std::string& dataDir) {
    dataDir.copy(mDataDirText, kOrmoDataDirSize - 1);
    mCompatSlots = false;
    char buffer[kOrmoVersionTextSize] = {};
    callEngine(mOpcodeProc, 0, kOpGetVersion, buffer);
    const std::string version(buffer, strnlen(buffer, sizeof buffer));
    LogLine(LogSeverity::kInformation, "fetched OrmoVersion:" + version);
    if (version != kCompatVersion) {
        return;
    }
    LogLine(LogSeverity::kInformation, "Turned on Ormo 1.025 compatibility slots");
    mCompatSlots = true;
}

void EngineClient::open(std::uint32_t channelCount) {
    mOpenBlock.reserved = 0;
    mOpenBlock.channelCount = channelCount;
    mOpenBlock.compatSlots = mCompatSlots ? 1 : 0;
    mOpenBlock.dataDir = mDataDirText;
    callEngine(mOpcodeProc, 0, kOpOpenInstance, &mOpenBlock, &mEngineHandle);
}

void EngineClient::setRateAndBlockSize(double rate, std::uint32_t maxFrames) {
    if (isConnected()) {
        callEngine(mOpcodeProc, mEngineHandle, kOpSetRateAndBlockSize, 0, 0, 0,
                   truncateToInt32(rate), maxFrames);
    }
}

void EngineClient::suspend() {
    if (isConnected()) {
        callEngine(mOpcodeProc, mEngineHandle, kOpSuspend);
    }
}

void EngineClient::resume(bool offline) {
    if (isConnected()) {
        callEngine(mOpcodeProc, mEngineHandle, kOpResume, 0, 0, 0, offline ? 1 : 0);
    }
}

bool EngineClient::getChunk(const void*& bytes, std::size_t& size) {
    if (!isConnected()) {
        return false;
    }
    const void* chunk = nullptr;
    std::int32_t chunkSize = 0;
    const std::int32_t result =
        callEngine(mOpcodeProc, mEngineHandle, kOpGetChunk, &chunk, &chunkSize);
    if (result != 0 || chunkSize < 1 || chunk == nullptr) {
        return false;
    }
    bytes = chunk;
    size = static_cast<std::size_t>(chunkSize);
    return true;
}

void EngineClient::setChunk(const void* bytes, std::size_t size) {
    if (isConnected() && size <= std::numeric_limits<std::int32_t>::max()) {
        callEngine(mOpcodeProc, mEngineHandle, kOpSetChunk, bytes, 0, 0,
                   static_cast<std::int32_t>(size));
    }
}

std::int32_t EngineClient::vendorProperty(std::uint32_t id, void* value) {
    return callEngine(mOpcodeProc, mEngineHandle, kOpVendorProperty, value, 0, 0, id);
}

void EngineClient::close() {
    mEngineBundle.Reset();
    if (isConnected()) {
        callEngine(std::exchange(mOpcodeProc, nullptr), std::exchange(mEngineHandle, 0),
                   kOpCloseInstance);
    }
}

} // namespace velnor
