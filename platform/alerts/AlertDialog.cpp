#include "platform/alerts/AlertPresenters.h"
#include "platform/alerts/ChildProgram.h"

#include <algorithm>
#include <cstdlib>
#include <string_view>

namespace velnor {
namespace {

struct Button {
    SInt32 index;
    std::string label;
};

// The alert's buttons, the one that closing the dialog chooses last.
std::vector<Button> OrderedButtons(const PlatformAlert& alert) {
    std::vector<Button> buttons;
    for (const bool cancels : {false, true}) {
        for (SInt32 i = 0; i < 3; ++i) {
            if (alert.buttons[i] != nullptr && (i == alert.cancelButton) == cancels) {
                buttons.push_back({i, alert.buttons[i]});
            }
        }
    }
    return buttons;
}

std::string WholeText(const PlatformAlert& alert) {
    const std::string header = alert.header;
    const std::string message = alert.message;
    return header + (header.empty() || message.empty() ? "" : "\n\n") + message;
}

std::string Title(const PlatformAlert& alert) {
    const std::string header = alert.header;
    return header.substr(0, header.find('\n'));
}

std::string WithBackslashBefore(std::string_view special, const std::string& text) {
    std::string result;
    for (const char c : text) {
        if (special.find(c) != std::string_view::npos) {
            result += '\\';
        }
        result += c;
    }
    return result;
}

// Text that a reader of rich text shows as it is.
std::string AsRichText(const std::string& text) {
    std::string result = "<qt>";
    for (const char c : text) {
        switch (c) {
        case '<':
            result += "&lt;";
            break;
        case '>':
            result += "&gt;";
            break;
        case '&':
            result += "&amp;";
            break;
        case '\n':
            result += "<br/>";
            break;
        default:
            result += c;
        }
    }
    return result + "</qt>";
}

using Arguments = std::vector<std::string>;

Arguments ZenityArguments(const PlatformAlert& alert, const std::vector<Button>& buttons) {
    constexpr const char* kKinds[] = {"--error", "--info", "--warning", "--info"};
    Arguments arguments{buttons.size() == 1 ? kKinds[alert.level] : "--question",
                        "--title=" + Title(alert), "--no-markup",
                        "--text=" + WithBackslashBefore("\\", WholeText(alert)),
                        "--ok-label=" + buttons.front().label};
    if (buttons.size() > 1) {
        arguments.push_back("--cancel-label=" + buttons.back().label);
    }
    if (buttons.size() > 2) {
        arguments.push_back("--extra-button=" + buttons[1].label);
    }
    if (buttons.size() > 1 && alert.defaultButton == alert.cancelButton) {
        arguments.push_back("--default-cancel");
    }
    return arguments;
}

// The answer of a dialog that was closed. One that could not be shown has the same status but
// complains, so that it says nothing where there is no choice.
std::optional<SInt32> ClosedAnswer(const ProgramResult& result,
                                   const std::vector<Button>& buttons) {
    const bool isSeen = buttons.size() > 1 || result.errors.empty();
    return isSeen ? std::optional(buttons.back().index) : std::nullopt;
}

// Status 0 is the first button; 1 is the last one and the closed dialog, but the middle one when
// its label was printed.
std::optional<SInt32> ZenityAnswer(const ProgramResult& result,
                                   const std::vector<Button>& buttons) {
    if (result.status == 0) {
        return buttons.front().index;
    }
    if (buttons.size() > 2 && result.output == buttons[1].label + "\n") {
        return buttons[1].index;
    }
    return result.status == 1 ? ClosedAnswer(result, buttons) : std::nullopt;
}

Arguments KdialogArguments(const PlatformAlert& alert, const std::vector<Button>& buttons) {
    constexpr const char* kKinds[] = {"--error", "--msgbox", "--sorry", "--msgbox"};
    const std::string text = WithBackslashBefore("\\", AsRichText(WholeText(alert)));
    Arguments arguments{"--title", Title(alert)};
    if (buttons.size() == 1) {
        arguments.insert(arguments.end(), {kKinds[alert.level], text});
        return arguments;
    }
    arguments.insert(arguments.end(),
                     {buttons.size() == 2 ? "--yesno" : "--yesnocancel", text, "--yes-label",
                      buttons[0].label, "--no-label", buttons[1].label});
    if (buttons.size() > 2) {
        arguments.insert(arguments.end(), {"--cancel-label", buttons[2].label});
    }
    return arguments;
}

// The status is the button's place; 2 is also the closed dialog.
std::optional<SInt32> KdialogAnswer(const ProgramResult& result,
                                    const std::vector<Button>& buttons) {
    const auto place = static_cast<std::size_t>(result.status);
    if (place < buttons.size()) {
        return buttons[place].index;
    }
    return result.status <= 2 ? ClosedAnswer(result, buttons) : std::nullopt;
}

constexpr int kFirstXmessageStatus = 101;

Arguments XmessageArguments(const PlatformAlert& alert, const std::vector<Button>& buttons) {
    std::string list;
    std::string preferred;
    for (std::size_t i = 0; i < buttons.size(); ++i) {
        list += (i == 0 ? "" : ",") + WithBackslashBefore("\\,:", buttons[i].label) + ":" +
                std::to_string(kFirstXmessageStatus + static_cast<int>(i));
        if (buttons[i].index == alert.defaultButton) {
            preferred = buttons[i].label;
        }
    }
    // The blank keeps a text that begins with "-" from being an option.
    return {"-center", "-title",   Title(alert), "-buttons",
            list,      "-default", preferred,    " " + WholeText(alert)};
}

// Buttons have a status of their own; 1 is the closed window.
std::optional<SInt32> XmessageAnswer(const ProgramResult& result,
                                     const std::vector<Button>& buttons) {
    const auto place = static_cast<std::size_t>(result.status - kFirstXmessageStatus);
    if (result.status >= kFirstXmessageStatus && place < buttons.size()) {
        return buttons[place].index;
    }
    return result.status == 1 ? ClosedAnswer(result, buttons) : std::nullopt;
}

struct DialogProgram {
    const char* name;
    bool needsX;
    Arguments (*arguments)(const PlatformAlert&, const std::vector<Button>&);
    std::optional<SInt32> (*answer)(const ProgramResult&, const std::vector<Button>&);
};

constexpr DialogProgram kPrograms[] = {
    {"zenity", false, ZenityArguments, ZenityAnswer},
    {"kdialog", false, KdialogArguments, KdialogAnswer},
    {"xmessage", true, XmessageArguments, XmessageAnswer},
};

bool IsSet(const char* variable) {
    const char* value = std::getenv(variable);
    return value != nullptr && *value != '\0';
}

} // namespace

std::optional<SInt32> PresentAsDialog(const PlatformAlert& alert) {
    const bool hasX = IsSet("DISPLAY");
    if (!hasX && !IsSet("WAYLAND_DISPLAY")) {
        return std::nullopt;
    }
    const auto buttons = OrderedButtons(alert);
    const Deadline deadline(alert.timeout);
    for (const auto& program : kPrograms) {
        const auto path = program.needsX && !hasX ? std::nullopt : FindProgram(program.name);
        if (!path) {
            continue;
        }
        const auto result = RunProgram(*path, program.arguments(alert, buttons), deadline);
        switch (result.end) {
        case ProgramResult::End::Exited:
            return program.answer(result, buttons);
        case ProgramResult::End::TimedOut:
            return kPlatformAlertTimedOut;
        case ProgramResult::End::Unknown:
            return ClosedAnswer(result, buttons);
        case ProgramResult::End::Failed:
            break;
        }
    }
    return std::nullopt;
}

} // namespace velnor
