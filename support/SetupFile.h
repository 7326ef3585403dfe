// An engine's setup file:
//   <OrmoSetup>
//     <Property name="vendor" value="..."/>
//     <Property name="product" value="..."/>
//   </OrmoSetup>
// Other elements, and properties of other names, are ignored.
#ifndef VELNOR_SUPPORT_SETUPFILE_H
#define VELNOR_SUPPORT_SETUPFILE_H

#include <string>

namespace velnor {

// True when the file has the root element and no vendor or product property in it differs, byte for
// byte, from the one that is expected. Otherwise message says why: "Could not load file", also for
// files of more than 64 MiB, 1,024 elements inside each other, 262,144 elements and attributes,
// 1,024 attributes of one element or names of attributes too long for their number, "Could not find
// OrmoSetup element", "incorrect vendor in file
// ..." or "incorrect product in file ...", which name the value of the last property that differs.
// message is written on false only. Thread any, concurrent, may block.
bool verifyOrmoSetup(const std::string& vendor, const std::string& product, const std::string& path,
                     std::string& message);

} // namespace velnor

#endif
