// An open file as libsndfile writes it.
#ifndef VELNOR_HOST_JOB_DESCRIPTORSTREAM_H
#define VELNOR_HOST_JOB_DESCRIPTORSTREAM_H

#include <sndfile.h>

namespace velnor::host {

// Remembers the first write that failed: the library does not tell of one that completes the header
// of a file. Stays where it was made. Thread main.
class DescriptorStream {
public:
    // A regular file, empty; stays the caller's.
    explicit DescriptorStream(int descriptor) : mDescriptor(descriptor) {}
    DescriptorStream(const DescriptorStream&) = delete;
    DescriptorStream& operator=(const DescriptorStream&) = delete;

    // Null when it cannot be opened.
    SNDFILE* open(SF_INFO& info);
    // The errno of that write; 0 as long as all went well.
    int error() const { return mError; }

private:
    static DescriptorStream& of(void* stream) { return *static_cast<DescriptorStream*>(stream); }
    sf_count_t seek(sf_count_t offset, int whence);
    sf_count_t write(const char* bytes, sf_count_t count);

    int mDescriptor;
    int mError = 0;
    sf_count_t mPosition = 0;
    sf_count_t mLength = 0;
};

} // namespace velnor::host

#endif
