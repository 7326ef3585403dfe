#include "platform/Alerts.h"

#include "platform/alerts/AlertPresenters.h"
#include "platform/values/CFStringObject.h"

#include <array>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace velnor {
namespace {

constexpr const char kPlatformButton[] = "OK";
constexpr CFOptionFlags kLevelMask = 3;

SInt32 PresentByDefault(const PlatformAlert* alert, void*) {
    const auto answer = PresentAsDialog(*alert);
    return answer ? *answer : PresentAsText(*alert);
}

struct Presenter {
    PlatformAlertPresenter function = nullptr;
    void* context = nullptr;
};

struct PresenterSlot {
    std::mutex mutex;
    Presenter presenter;
};

PresenterSlot& Slot() {
    static PresenterSlot slot;
    return slot;
}

// An alert with texts of its own.
struct AlertText {
    SInt16 level = 0;
    std::string header;
    std::string message;
    std::array<std::optional<std::string>, 3> buttons;
    SInt16 defaultButton = 0;
    SInt16 cancelButton = 0;
    CFTimeInterval timeout = 0;
};

// Runs the presenter. Nothing when the alert could not be presented or the answer names no button.
std::optional<SInt32> Present(const AlertText& text) {
    Presenter presenter;
    {
        const std::lock_guard lock(Slot().mutex);
        presenter = Slot().presenter;
    }
    PlatformAlert alert{text.level,         text.header.c_str(), text.message.c_str(), {},
                        text.defaultButton, text.cancelButton,   text.timeout};
    for (std::size_t i = 0; i < text.buttons.size(); ++i) {
        const std::optional<std::string>& button = text.buttons[i];
        alert.buttons[i] = button ? button->c_str() : nullptr;
    }
    const auto present = presenter.function ? presenter.function : PresentByDefault;
    const SInt32 answer = present(&alert, presenter.context);
    const bool isAnswer =
        answer == kPlatformAlertTimedOut ||
        (answer >= 0 && answer < kPlatformAlertTimedOut && alert.buttons[answer] != nullptr);
    return isAnswer ? std::optional(answer) : std::nullopt;
}

std::string TextOrEmpty(CFStringRef string) {
    return string ? TextOf(string) : std::string();
}

std::optional<std::string> TextIfAny(CFStringRef string) {
    return string ? std::optional(TextOf(string)) : std::nullopt;
}

std::array<std::optional<std::string>, 3> Buttons(CFStringRef first, CFStringRef second,
                                                  CFStringRef third) {
    return {first ? TextOf(first) : kPlatformButton, TextIfAny(second), TextIfAny(third)};
}

SInt16 LastButton(const AlertText& text) {
    for (SInt16 i = 2; i > 0; --i) {
        if (text.buttons[static_cast<std::size_t>(i)]) {
            return i;
        }
    }
    return 0;
}

// The index of button number 1 to 3, of the first one where there is no such button.
SInt16 IndexOf(const AlertText& text, SInt16 number) {
    const auto index = static_cast<std::size_t>(number - 1);
    return text.buttons[index] ? static_cast<SInt16>(index) : SInt16{0};
}

bool IsValid(AlertType type, const AlertStdCFStringAlertParamRec& param) {
    return type >= kAlertStopAlert && type <= kAlertPlainAlert && param.defaultButton >= 1 &&
           param.defaultButton <= 3 && param.cancelButton >= 0 && param.cancelButton <= 3;
}

} // namespace
} // namespace velnor

struct OpaqueDialogRef {
    velnor::AlertText text;
};

SInt32 CFUserNotificationDisplayAlert(CFTimeInterval timeout, CFOptionFlags flags,
                                      CFTypeRef iconURL, CFTypeRef soundURL,
                                      CFTypeRef localizationURL, CFStringRef header,
                                      CFStringRef message, CFStringRef defaultButton,
                                      CFStringRef alternateButton, CFStringRef otherButton,
                                      CFOptionFlags* response) {
    if (iconURL != nullptr || soundURL != nullptr || localizationURL != nullptr) {
        return paramErr;
    }
    velnor::AlertText text;
    text.level = static_cast<SInt16>(flags & velnor::kLevelMask);
    text.header = velnor::TextOrEmpty(header);
    text.message = velnor::TextOrEmpty(message);
    text.buttons = velnor::Buttons(defaultButton, alternateButton, otherButton);
    text.cancelButton = velnor::LastButton(text);
    text.timeout = timeout;
    const auto answer = velnor::Present(text);
    if (!answer) {
        return ioErr;
    }
    if (response != nullptr) {
        *response = static_cast<CFOptionFlags>(*answer);
    }
    return 0;
}

OSStatus GetStandardAlertDefaultParams(AlertStdCFStringAlertParamRec* param, UInt32 version) {
    if (param == nullptr || version != kStdCFStringAlertVersionOne) {
        return paramErr;
    }
    *param = {};
    param->defaultButton = kStdOkItemIndex;
    return noErr;
}

OSStatus CreateStandardAlert(AlertType type, CFStringRef error, CFStringRef explanation,
                             const AlertStdCFStringAlertParamRec* param, DialogRef* dialog) {
    AlertStdCFStringAlertParamRec used;
    GetStandardAlertDefaultParams(&used, kStdCFStringAlertVersionOne);
    if (param != nullptr) {
        used = *param;
    }
    if (error == nullptr || dialog == nullptr || !velnor::IsValid(type, used)) {
        return paramErr;
    }
    auto made = std::make_unique<OpaqueDialogRef>();
    auto& text = made->text;
    text.level = type;
    text.header = velnor::TextOf(error);
    text.message = velnor::TextOrEmpty(explanation);
    text.buttons = velnor::Buttons(used.defaultText, used.cancelText, used.otherText);
    text.defaultButton = velnor::IndexOf(text, used.defaultButton);
    text.cancelButton =
        used.cancelButton == 0 ? text.defaultButton : velnor::IndexOf(text, used.cancelButton);
    *dialog = made.release();
    return noErr;
}

OSStatus RunStandardAlert(DialogRef dialog, void* filter, DialogItemIndex* hit) {
    const std::unique_ptr<OpaqueDialogRef> owned(dialog);
    if (!owned || filter != nullptr) {
        return paramErr;
    }
    const auto answer = velnor::Present(owned->text);
    if (!answer || *answer == kPlatformAlertTimedOut) {
        return ioErr;
    }
    if (hit != nullptr) {
        *hit = static_cast<DialogItemIndex>(*answer + 1);
    }
    return noErr;
}

PlatformAlertPresenter PlatformSetAlertPresenter(PlatformAlertPresenter presenter, void* context) {
    auto& slot = velnor::Slot();
    const std::lock_guard lock(slot.mutex);
    const PlatformAlertPresenter before = slot.presenter.function;
    slot.presenter = {presenter, context};
    return before;
}
