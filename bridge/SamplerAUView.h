// The editor view: the engine's own editor in the host's window.
#ifndef VELNOR_BRIDGE_SAMPLERAUVIEW_H
#define VELNOR_BRIDGE_SAMPLERAUVIEW_H

#include "bridge/OrmoEngine.h"
#include "framework/AUCarbonViewBase.h"

namespace velnor {

// Reads the engine's entry point and handle from the instrument once, when the host creates the
// view; without either, a text asks for a new installation. Thread main, exclusive, may block.
class SamplerAUView : public AUCarbonViewBase {
public:
    explicit SamplerAUView(ComponentInstance inInstance);
    // Takes the editor away from the engine instance and has it destroyed, if there is one.
    ~SamplerAUView() override;

    // 1: the engine refuses to open its editor; it is destroyed with the view. 0 otherwise.
    OSStatus CreateUI(Float32 xOffset, Float32 yOffset) override;
    // Gives the editor its idle call.
    void RespondToEventTimer(EventLoopTimerRef inTimer) override;

private:
    void readInstrument();
    bool createEditor();
    bool openEditor();
    void attachEditor();
    void embedEditor(Float32 xOffset, Float32 yOffset);
    void placeInCompositingWindow(ControlRef control, Float32 xOffset, Float32 yOffset);
    void placeInWindow(ControlRef control, Float32 xOffset, Float32 yOffset);
    void showFallback();

    OrmoEditorHandle mEditorHandle = 0;
    OrmoEngineHandle mEngineHandle = 0;
    OrmoOpcodeProc mOpcodeProc = nullptr;
    char mSetupPath[kOrmoSetupPathSize] = {};
};

} // namespace velnor

#endif
