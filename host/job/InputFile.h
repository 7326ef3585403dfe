// Reading a whole file of limited size.
#ifndef VELNOR_HOST_JOB_INPUTFILE_H
#define VELNOR_HOST_JOB_INPUTFILE_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace velnor::host {

// As messages name it: "-" is standard input.
std::string shownInput(const std::string& path);

// "-" is standard input. Throws JobError: the file cannot be read, is a folder, or is larger than
// limit bytes.
std::vector<std::uint8_t> readInputFile(const std::string& path, std::size_t limit);

} // namespace velnor::host

#endif
