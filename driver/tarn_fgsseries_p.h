// Private: the settings, the locks and the arithmetic that every folder uses. Not installed.
#ifndef TARN_FGSSERIES_P_H
#define TARN_FGSSERIES_P_H

#include "tarn_fgsseries.h"

#include <cstring>

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

// Values stand in the image as they go to the host, byte by byte.
static_assert(Q_BYTE_ORDER == Q_LITTLE_ENDIAN, "byte strings are little-endian");

/// Assigns a string or a byte array, which counts references; not if it is the same one already. Where records are
/// copied this saves 7 to 12 % of a poll on the panel.
template <typename Shared>
inline void assignShared(Shared &to, const Shared &from)
{
    if (!to.isSharedWith(from))
        to = from;
}

template <typename Shared>
inline void clearShared(Shared &value)
{
    if (!value.isNull())
        value = Shared();
}

/// Copies every field but data.
inline void assignAllButData(RW_VAR &to, const RW_VAR &from)
{
    to.hostType = from.hostType;
    to.hostAddr = from.hostAddr;
    to.hostField3 = from.hostField3;
    to.remoteModeCopy = from.remoteModeCopy;
    to.linkNo = from.linkNo;
    to.result = from.result;
    assignShared(to.text1, from.text1);
    assignShared(to.addressText, from.addressText);
    to.areaType = from.areaType;
    to.address = from.address;
    to.station = from.station;
    to.length = from.length;
    to.remoteStoreMark = from.remoteStoreMark;
    to.hostField14 = from.hostField14;
}

/// As to = from, for records that often share their texts and data already.
inline void assign(RW_VAR &to, const RW_VAR &from)
{
    assignAllButData(to, from);
    assignShared(to.data, from.data);
}

/// Where the job in flight came from: the values of CurrentSource.
enum Source { CyclicSource = 0, WriteSource = 1, OnceSource = 2, NoSource = 100 };

extern const COMINFO noSettings;

/// The host's settings; before SetComInfo() all of them are 0.
inline const COMINFO &settings()
{
    return PLC_driver.settings ? *PLC_driver.settings : noSettings; // Deliberate: behaviour 106.
}

/// Writes a word of the settings record, if there is one.
inline void setWord(int COMINFO::*word, int value)
{
    if (PLC_driver.settings) // Deliberate: behaviour 106.
        PLC_driver.settings->*word = value;
}

/// Whether the last reply failed. The polling thread changes it while others ask.
inline bool linkIsFailing()
{
    return __atomic_load_n(&PLC_driver.CommFailFlag, __ATOMIC_SEQ_CST) != 0;
}

inline void setLinkIsFailing(bool failing)
{
    __atomic_store_n(&PLC_driver.CommFailFlag, static_cast<unsigned char>(failing), __ATOMIC_SEQ_CST);
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
