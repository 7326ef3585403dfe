#ifndef VELNOR_FUZZ_VIEWSESSION_H
#define VELNOR_FUZZ_VIEWSESSION_H

#include "fuzz/ComponentCaller.h"
#include "fuzz/FuzzHost.h"
#include "fuzz/HostMemory.h"
#include "fuzz/PropertyValues.h"
#include "platform/CarbonView.h"
#include "platform/EventLoop.h"

namespace velnor::fuzz {

// A view of the instrument's, with a window to be in. Closed before the instrument.
class ViewSession {
public:
    ViewSession(FuzzedDataProvider& input, HostMemory& memory, const Variant& variant,
                AudioUnit unit)
        : mInput(input), mMemory(memory), mUnit(unit), mView(FuzzHost::Shared().OpenView(variant)),
          mCaller(input, kView, FuzzHost::Shared().ViewEntry(variant), mView) {
        const Rect bounds = {0, 0, 400, 600};
        const WindowAttributes attributes =
            input.ConsumeBool() ? kWindowCompositingAttribute : kWindowNoAttributes;
        FUZZ_CHECK(CreateNewWindow(attributes, &bounds, &mWindow) == noErr);
        FUZZ_CHECK(GetRootControl(mWindow, &mRoot) == noErr);
    }
    ~ViewSession() {
        mCaller.Close();
        DisposeWindow(mWindow);
    }
    ViewSession(const ViewSession&) = delete;
    ViewSession& operator=(const ViewSession&) = delete;

    void Call() {
        switch (mInput.ConsumeIntegralInRange<int>(0, 15)) {
        case 0:
            mCaller.Send(kComponentOpenSelect, ComponentInstance{nullptr});
            return;
        case 1:
            mCaller.Send(kComponentCloseSelect, mView);
            return;
        case 2:
        case 3:
            mCaller.Ask();
            return;
        case 4:
            mCaller.SendToNobody();
            return;
        case 5:
        case 6:
            mCaller.SendNulls();
            return;
        case 7:
            PlatformAdvanceEventLoop(0.5);
            return;
        default:
            Create();
        }
    }

private:
    const Float32Point* Point() {
        const auto x = static_cast<Float32>(OneIn(mInput, 4) ? Real(mInput) : 10.5);
        return mMemory.ValueOrNull(Float32Point{x, 20.5F});
    }

    void Create() {
        auto* const place = mMemory.ValueOrNull<ControlRef>();
        const ComponentResult status =
            mCaller.Send(kAudioUnitCarbonViewCreateSelect, OneIn(mInput, 8) ? nullptr : mUnit,
                         OneIn(mInput, 8) ? nullptr : mWindow, OneIn(mInput, 8) ? nullptr : mRoot,
                         Point(), Point(), place);
        FUZZ_CHECK(status != noErr || GetControlOwner(*place) == mWindow);
    }

    FuzzedDataProvider& mInput;
    HostMemory& mMemory;
    const AudioUnit mUnit;
    const ComponentInstance mView;
    ComponentCaller mCaller;
    WindowRef mWindow = nullptr;
    ControlRef mRoot = nullptr;
};

} // namespace velnor::fuzz

#endif
