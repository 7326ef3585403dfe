// Modal messages to the user. Text is in the system's legacy encoding (CFStringGetSystemEncoding).
//
// Thread main, exclusive, may block: until the user answers.
#ifndef VELNOR_SUPPORT_ALERTS_H
#define VELNOR_SUPPORT_ALERTS_H

#include <string>

// A caution alert with the title, a line break and the message, and the standard single button.
// Nothing is shown when the alert cannot be made. parent is not used.
void popupModalMessageWindow(void* parent, const std::string& title, const std::string& message);

// A caution alert with the message and the buttons "Yes", the default, and "No". True only when
// "Yes" was chosen; false too when the alert cannot be made. parent and title are not used.
bool popupModalYesNoWindow(void* parent, const std::string& title, const std::string& message);

#endif
