#include "StandardStreams.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <system_error>

#include "Failure.h"

namespace vframe {

void KeepStandardNumbers() {
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        // A file that is opened gets the lowest number that is free.
        if (fcntl(stream, F_GETFD) < 0) open("/dev/null", stream == 0 ? O_WRONLY : O_RDONLY);
    }
}

void FlushOutput() {
    errno = 0;
    if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0) return;
    throw Failure("standard output", std::generic_category().message(errno ? errno : EIO));
}

}  // namespace vframe
