// The places on disk that belong to the user and the running process. Paths are UTF-8, at most
// 1,023 bytes; an empty string stands for every failure.
//
// Thread any, concurrent, may block.
#ifndef VELNOR_SUPPORT_FOLDERS_H
#define VELNOR_SUPPORT_FOLDERS_H

#include <string>

// The folder "product" in the folder "vendor" in the user's application-support folder; both are
// made where they are missing. Names are ASCII, 1 to 255 characters; any other name is refused.
std::string setUserPathVendorProduct(const std::string& vendor, const std::string& product);

// The user's application-support folder and desktop folder. Neither is made.
std::string getUserPath();
std::string getUserDesktop();

// The user's short login name.
std::string getUserName();

// "/tmp".
std::string getTempDir();

// The running process's name. Empty too when its UTF-8 form takes more than two bytes per UTF-16
// unit. The argument is not used.
std::string PGetCurrentApplicationPath(void*);

// A placeholder: makes nothing and answers 2.
int PCreateDir(const std::string& path);

#endif
