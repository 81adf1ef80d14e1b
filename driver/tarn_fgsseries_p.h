// Private: the settings, the locks and the arithmetic that every folder uses. Not installed.
#ifndef TARN_FGSSERIES_P_H
#define TARN_FGSSERIES_P_H

#include "tarn_fgsseries.h"

// The thread sanitizer cannot see into Qt's mutex; it is told.
#if defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define __SANITIZE_THREAD__ 1
#endif
#endif
#ifdef __SANITIZE_THREAD__
#include <sanitizer/tsan_interface.h>
#define TARN_TSAN(call) __tsan_##call
#else
#define TARN_TSAN(call) static_cast<void>(0)
#endif

/// Holds a mutex while it lives. (QMutexLocker is a template in Qt 6 and carries no annotations.)
class TARN_THREAD(scoped_lockable) Locker
{
public:
    explicit Locker(TarnMutex &guarded) TARN_THREAD(acquire_capability(guarded)) : mutex(guarded)
    {
        mutex.lock();
        TARN_TSAN(acquire(&mutex));
    }
    ~Locker() TARN_THREAD(release_capability())
    {
        TARN_TSAN(release(&mutex));
        mutex.unlock();
    }

private:
    Locker(const Locker &);
    Locker &operator=(const Locker &);

    TarnMutex &mutex;
};

extern const COMINFO noSettings;

/// The host's settings; before SetComInfo() all of them are 0.
inline const COMINFO &settings()
{
    return PLC_driver.settings ? *PLC_driver.settings : noSettings;
}

/// Writes a word of the settings record, if there is one.
inline void setWord(int COMINFO::*word, int value)
{
    if (PLC_driver.settings)
        PLC_driver.settings->*word = value;
}

/// Cuts a number to 32 bits, as the wire and the records hold it.
inline int cut(qint64 value)
{
    return static_cast<int>(value);
}

inline int saturate(qint64 value)
{
    const qint64 most = 0x7fffffff;
    return cut(value > most ? most : value < -most ? -most : value);
}

#endif
