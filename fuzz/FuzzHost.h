// A host for fuzzers: the built instrument, with or without the probe engine, in a private home.
#ifndef VELNOR_FUZZ_FUZZHOST_H
#define VELNOR_FUZZ_FUZZHOST_H

#include "fuzz/FuzzCheck.h"
#include "platform/CFBundle.h"
#include "platform/CFRef.h"
#include "testing/TestHost.h"

#include <array>

namespace velnor::fuzz {

struct Variant {
    bool multiOutput; // a copy of the component whose product record says so
    bool hasEngine;

    std::size_t Index() const { return (multiOutput ? 2U : 0U) + (hasEngine ? 1U : 0U); }
};

// The one of the process. Both components' code stays loaded, so that the fuzzer's counters in it
// do.
class FuzzHost {
public:
    static FuzzHost& Shared();

    // A new instrument of the variant; the probe behaves as told, or as new.
    AudioUnit Open(const Variant& variant, const probe::Behaviour& behaviour = {});
    // A new view of the instrument's.
    ComponentInstance OpenView(const Variant& variant);
    // Stops the fuzzer when the instrument that was opened last, now closed, has left objects,
    // engine instances or editors behind.
    void CheckNothingIsLeft();
    // The exported entries.
    ComponentEntry InstrumentEntry(const Variant& variant) const {
        return mEntries[variant.multiOutput][0];
    }
    ComponentEntry ViewEntry(const Variant& variant) const {
        return mEntries[variant.multiOutput][1];
    }

private:
    FuzzHost();
    void Load(bool multiOutput, const std::string& bundle);
    AudioUnit OpenQuietly(const Variant& variant);

    testing::TestHost mHost;
    std::array<CFRef<CFBundleRef>, 2> mBundles;
    // Instrument and view of each.
    std::array<std::array<Component, 2>, 2> mComponents{};
    std::array<std::array<ComponentEntry, 2>, 2> mEntries{};
    std::array<CFIndex, 4> mObjects{}; // alive while no instrument of the variant is open
    Variant mOpened{};
    bool mEngineInstalled = true;
};

} // namespace velnor::fuzz

#endif
