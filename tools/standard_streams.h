// Programs that were started with a standard stream closed, as by >&- in a shell.
#ifndef TARN_STANDARD_STREAMS_H
#define TARN_STANDARD_STREAMS_H

#include <fcntl.h>
#include <unistd.h>

inline bool isClosed(int stream)
{
    return ::fcntl(stream, F_GETFD) < 0;
}

/// A stream that is closed fails at its first use, instead of getting what the next file or socket gets. Call it
/// first: what is opened gets the lowest number that is free.
inline void occupyStandardStreams()
{
    for (int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        if (isClosed(stream))
            ::open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY);
}

#endif
