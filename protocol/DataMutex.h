#pragma once

#include <QMutex>

#ifdef __SANITIZE_THREAD__
extern "C" void __tsan_acquire(void *address);
extern "C" void __tsan_release(void *address);
#endif

/// A QMutex whose order the thread sanitizer sees: Qt's own locking happens in a library that is
/// not instrumented, and would be reported as missing.
class DataMutex {
public:
    void lock()
    {
        m_mutex.lock();
        acquired();
    }
    /// Never waits.
    bool try_lock()
    {
        if (!m_mutex.tryLock())
            return false;
        acquired();
        return true;
    }
    void unlock()
    {
#ifdef __SANITIZE_THREAD__
        __tsan_release(this);
#endif
        m_mutex.unlock();
    }

private:
    void acquired()
    {
#ifdef __SANITIZE_THREAD__
        __tsan_acquire(this);
#endif
    }

    QMutex m_mutex;
};
