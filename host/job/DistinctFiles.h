// No output of a job may be another of its files.
#ifndef VELNOR_HOST_JOB_DISTINCTFILES_H
#define VELNOR_HOST_JOB_DISTINCTFILES_H

#include <string>
#include <vector>

namespace velnor::host {

// Throws JobError (wrong use) when an output leads to the same regular file as an input or as
// another output. "-" is standard input among the inputs, and no file among the outputs; empty
// names are none.
void requireDistinctFiles(const std::vector<std::string>& inputs,
                          const std::vector<std::string>& outputs);

} // namespace velnor::host

#endif
