// Private: the settings, the locks and the arithmetic that every folder uses. Not installed.
#ifndef TARN_FGSSERIES_P_H
#define TARN_FGSSERIES_P_H

#include "tarn_fgsseries.h"

/// Holds a mutex while it lives. (QMutexLocker is a template in Qt 6 and carries no annotations.)
class TARN_THREAD(scoped_lockable) Locker
{
public:
    explicit Locker(TarnMutex &guarded) TARN_THREAD(acquire_capability(guarded)) : mutex(guarded) { mutex.lock(); }
    ~Locker() TARN_THREAD(release_capability()) { mutex.unlock(); }

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
