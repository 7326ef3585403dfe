// The editor view in any window and place, with engines that have an editor and engines that do
// not: no crash, only known statuses, and nothing left behind.
#include "fuzz/FuzzHost.h"
#include "fuzz/HostMemory.h"
#include "platform/CarbonView.h"
#include "platform/EventLoop.h"

#include <bit>

namespace velnor::fuzz {
namespace {

constexpr OSStatus kEditorRefused = 1;

class Session {
public:
    Session(FuzzedDataProvider& input, const Variant& variant)
        : mInput(input), mMemory(input), mEditor(MakeControl()),
          mUnit(FuzzHost::Shared().Open(variant, Engine())),
          mView(FuzzHost::Shared().OpenView(variant)) {
        for (WindowRef& window : mWindows) {
            const Rect bounds = AnyRect();
            FUZZ_CHECK(CreateNewWindow(mInput.ConsumeBool() ? kWindowCompositingAttribute
                                                            : kWindowNoAttributes,
                                       &bounds, &window) == noErr);
        }
        if (mInput.ConsumeBool()) {
            AudioUnitInitialize(mUnit);
        }
    }
    ~Session() {
        if (mInput.ConsumeBool()) {
            DisposeWindows();
        }
        FUZZ_CHECK(CloseComponent(mView) == noErr);
        PlatformAdvanceEventLoop(1);
        DisposeWindows();
        FUZZ_CHECK(CloseComponent(mUnit) == noErr);
        if (!mEditorIsEmbedded) {
            DisposeControl(mEditor);
        }
    }
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    void Run() {
        for (int i = mInput.ConsumeIntegralInRange(1, 3); i > 0; --i) {
            Create();
            PlatformAdvanceEventLoop(0.25);
        }
    }

private:
    Rect AnyRect() {
        return {mInput.ConsumeIntegral<SInt16>(), mInput.ConsumeIntegral<SInt16>(),
                mInput.ConsumeIntegral<SInt16>(), mInput.ConsumeIntegral<SInt16>()};
    }

    // In no window; the engine's until it is embedded.
    ControlRef MakeControl() {
        const Rect bounds = AnyRect();
        ControlRef control = nullptr;
        FUZZ_CHECK(CreateUserPaneControl(nullptr, &bounds, 0, &control) == noErr);
        return control;
    }

    probe::Behaviour Engine() {
        probe::Behaviour behaviour;
        behaviour.rootControl = OneIn(mInput, 4) ? nullptr : mEditor;
        behaviour.leaveEditorZero = OneIn(mInput, 4);
        behaviour.editorOpenResult = OneIn(mInput, 4) ? -1 : 0;
        return behaviour;
    }

    Float32 Coordinate() {
        return OneIn(mInput, 4) ? static_cast<Float32>(Real(mInput))
                                : std::bit_cast<Float32>(mInput.ConsumeIntegral<UInt32>());
    }

    const Float32Point* Point() {
        const Float32 x = OneIn(mInput, 2) ? 10.5F : Coordinate();
        const Float32 y = OneIn(mInput, 2) ? 20.5F : Coordinate();
        return mMemory.ValueOrNull(Float32Point{x, y});
    }

    ControlRef Parent() {
        ControlRef root = nullptr;
        FUZZ_CHECK(GetRootControl(mWindows[OneIn(mInput, 8) ? 1 : 0], &root) == noErr);
        return OneIn(mInput, 8) ? nullptr : root;
    }

    void Create() {
        ControlRef* const place = mMemory.ValueOrNull<ControlRef>();
        const WindowRef window = OneIn(mInput, 8) ? nullptr : mWindows[0];
        const AudioUnit unit = OneIn(mInput, 8) ? nullptr : mUnit;
        const Float32Point* const location = Point();
        const Float32Point* const size = Point();
        const OSStatus status =
            AudioUnitCarbonViewCreate(mView, unit, window, Parent(), location, size, place);
        FUZZ_CHECK(status == noErr || status == paramErr || status == kEditorRefused);
        FUZZ_CHECK(status != noErr || GetControlOwner(*place) == window);
        ControlRef parent = nullptr;
        if (status == noErr && GetSuperControl(mEditor, &parent) == noErr && parent != nullptr) {
            mEditorIsEmbedded = true;
        }
    }

    void DisposeWindows() {
        for (WindowRef& window : mWindows) {
            DisposeWindow(std::exchange(window, nullptr));
        }
    }

    FuzzedDataProvider& mInput;
    HostMemory mMemory;
    const ControlRef mEditor;
    bool mEditorIsEmbedded = false; // and so the pane's
    const AudioUnit mUnit;
    const ComponentInstance mView;
    std::array<WindowRef, 2> mWindows{};
};

} // namespace
} // namespace velnor::fuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    using namespace velnor;
    FuzzedDataProvider input(data, size);
    const fuzz::Variant variant = {input.ConsumeBool(), !fuzz::OneIn(input, 8)};
    fuzz::Session(input, variant).Run();
    fuzz::FuzzHost::Shared().CheckNothingIsLeft();
    return 0;
}
