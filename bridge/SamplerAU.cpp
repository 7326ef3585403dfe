#include "bridge/SamplerAU.h"

#include "framework/ComponentEntryPoint.h"
#include "support/ConsoleLogger.h"
#include "support/Folders.h"

#include <cstring>

namespace {

VELNOR_PRODUCT_RECORD velnor::ProductRecord conf;

} // namespace

std::string setUserPath() {
    const velnor::ProductRecord& record = velnor::builtFile(conf);
    return setUserPathVendorProduct(velnor::recordText(record.vendor),
                                    velnor::recordText(record.product));
}

namespace velnor {

namespace {

constexpr ComponentResult kVersion = VELNOR_VERSION_CODE; // 16 bits major, 8 minor, 8 patch
constexpr OSType kViewManufacturer = VELNOR_FOUR_CHAR_CODE('Z', 'e', 'K', 'K');

// The bytes of the record's subtype, as it ships, in memory order.
constexpr OSType kViewSubType = [] {
    const ProductRecord shipped;
    return VELNOR_FOUR_CHAR_CODE(shipped.subtype[3], shipped.subtype[2], shipped.subtype[1],
                                 shipped.subtype[0]);
}();

} // namespace

SamplerAU::SamplerAU(ComponentInstance inInstance)
    : MusicDeviceBase(inInstance, 0, 1), mRecord(builtFile(conf)) {
    buildChannelInfos();
}

SamplerAU::~SamplerAU() {
    mChannelInfos.clear();
    if (mCounted && --g_instances == 0) {
        delete g_logger;
        g_logger = nullptr;
    }
    StatusOf([this]() -> OSStatus {
        mEngine.close();
        return noErr;
    });
}

ComponentResult SamplerAU::Version() {
    return kVersion;
}

UInt32 SamplerAU::GetNumCustomUIComponents() {
    return 1;
}

void SamplerAU::GetUIComponentDescs(ComponentDescription* outDescriptions) {
    *outDescriptions = {kAudioUnitCarbonViewComponentType, kViewSubType, kViewManufacturer, 0, 0};
}

} // namespace velnor

extern "C" VELNOR_PLATFORM_API ComponentResult SamplerAUEntry(ComponentParameters* params,
                                                              void* storage) {
    return velnor::ComponentEntryPoint<velnor::SamplerAU>::Dispatch(params, storage);
}
