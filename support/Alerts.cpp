#include "support/Alerts.h"

#include "platform/Alerts.h"
#include "platform/CFRef.h"
#include "platform/CFString.h"

namespace {

using Text = velnor::CFRef<CFStringRef>;

Text systemText(const std::string& text) {
    return Text(
        CFStringCreateWithCString(kCFAllocatorDefault, text.c_str(), CFStringGetSystemEncoding()));
}

// The number of the button that was chosen; 0 when nothing could be shown.
DialogItemIndex runCautionAlert(const std::string& message,
                                const AlertStdCFStringAlertParamRec* param) {
    const Text text = systemText(message);
    DialogRef dialog = nullptr;
    if (!text ||
        CreateStandardAlert(kAlertCautionAlert, text.Get(), nullptr, param, &dialog) != noErr) {
        return 0;
    }
    DialogItemIndex hit = 0;
    return RunStandardAlert(dialog, nullptr, &hit) == noErr ? hit : DialogItemIndex{0};
}

} // namespace

void popupModalMessageWindow(void*, const std::string& title, const std::string& message) {
    runCautionAlert(title + "\n" + message, nullptr);
}

bool popupModalYesNoWindow(void*, const std::string&, const std::string& message) {
    const Text yes = systemText("Yes");
    const Text no = systemText("No");
    AlertStdCFStringAlertParamRec param{};
    param.defaultText = yes.Get();
    param.cancelText = no.Get();
    param.defaultButton = kStdOkItemIndex;
    param.cancelButton = kStdCancelItemIndex;
    return runCautionAlert(message, &param) == kStdOkItemIndex;
}
