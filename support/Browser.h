// Showing a page to the user.
#ifndef VELNOR_SUPPORT_BROWSER_H
#define VELNOR_SUPPORT_BROWSER_H

#include <string>

// Opens the URL (ASCII) with the user's program for it, without waiting. Nothing happens when the
// text is no URL or there is no program. Thread any, concurrent, may block.
void startBrowser(const std::string& url);

#endif
