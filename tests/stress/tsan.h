// What the thread sanitizer does not see by itself: Qt's mutex.
#ifndef TARN_TESTS_TSAN_H
#define TARN_TESTS_TSAN_H

#include <tarn_fgsseries.h>

#if defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define __SANITIZE_THREAD__ 1
#endif
#endif
#ifdef __SANITIZE_THREAD__
#include <sanitizer/tsan_interface.h>
#define TELL_TSAN(call) __tsan_##call
#else
#define TELL_TSAN(call) static_cast<void>(0)
#endif

namespace stress
{

/// The lists, held by the host itself.
class Lists
{
public:
    Lists()
    {
        PLC_driver.ListMutex.lock();
        TELL_TSAN(acquire(&PLC_driver.ListMutex));
    }
    ~Lists()
    {
        TELL_TSAN(release(&PLC_driver.ListMutex));
        PLC_driver.ListMutex.unlock();
    }
    Lists(const Lists &) = delete;
    Lists &operator=(const Lists &) = delete;
};

} // namespace stress

#endif
