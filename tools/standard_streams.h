// Programs that were started with a standard stream closed, as by >&- in a shell.
#ifndef TARN_STANDARD_STREAMS_H
#define TARN_STANDARD_STREAMS_H

#include <fcntl.h>
#include <unistd.h>

/// A stream that is closed fails at its first use, instead of getting what the next file or socket gets. Call
/// first.
inline void occupyStandardStreams()
{
    for (int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        if (::fcntl(stream, F_GETFD) < 0)
            ::open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY); // takes the lowest number, this one
}

#endif
