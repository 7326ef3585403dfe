#include "host/job/DescriptorStream.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <unistd.h>

namespace velnor::host {

SNDFILE* DescriptorStream::open(SF_INFO& info) {
    SF_VIRTUAL_IO calls = {};
    calls.get_filelen = [](void* stream) { return of(stream).mLength; };
    calls.tell = [](void* stream) { return of(stream).mPosition; };
    calls.seek = [](sf_count_t offset, int whence, void* stream) {
        return of(stream).seek(offset, whence);
    };
    calls.read = [](void*, sf_count_t, void*) { return sf_count_t{0}; };
    calls.write = [](const void* bytes, sf_count_t count, void* stream) {
        return of(stream).write(static_cast<const char*>(bytes), count);
    };
    return sf_open_virtual(&calls, SFM_WRITE, &info, this);
}

sf_count_t DescriptorStream::seek(sf_count_t offset, int whence) {
    const sf_count_t from = whence == SEEK_SET ? 0 : whence == SEEK_CUR ? mPosition : mLength;
    mPosition = std::max<sf_count_t>(from + offset, 0);
    return mPosition;
}

sf_count_t DescriptorStream::write(const char* bytes, sf_count_t count) {
    sf_count_t done = 0;
    while (done < count) {
        const ssize_t written =
            pwrite(mDescriptor, bytes + done, static_cast<std::size_t>(count - done), mPosition);
        if (written < 0 && errno == EINTR) {
            continue;
        }
        if (written <= 0) {
            if (mError == 0) {
                mError = written < 0 ? errno : ENOSPC;
            }
            break;
        }
        done += written;
        mPosition += written;
        mLength = std::max(mLength, mPosition);
    }
    return done;
}

} // namespace velnor::host
