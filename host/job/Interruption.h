// Ctrl-C and crashes while a job runs.
#ifndef VELNOR_HOST_JOB_INTERRUPTION_H
#define VELNOR_HOST_JOB_INTERRUPTION_H

namespace velnor::host {

// From here on: SIGINT, SIGTERM, SIGHUP and SIGQUIT ask the job to stop (a second one ends the
// process at once), a write to a closed pipe or beyond the largest file allowed fails instead of
// ending the process, and a crash (of an engine, as a rule) prints one line. Temporary files go in
// each case. Thread main, once.
void watchForInterruption();

// Whether a person or the system asked to stop. Thread any, concurrent, nonblocking.
bool interrupted();

} // namespace velnor::host

#endif
