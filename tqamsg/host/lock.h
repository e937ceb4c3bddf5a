// TQALock: a mutual-exclusion lock between the threads of one process. Not recursive: a thread
// that locks it twice waits for ever.
//
// A host process may bring its own: it then defines the four operations and leaves lock.cpp out of
// the build.
#pragma once

#include "tqamsg/export.h"

#include <mutex>

class TQA_API TQALock {
  public:
    TQALock();
    ~TQALock();
    TQALock(const TQALock&) = delete;
    TQALock& operator=(const TQALock&) = delete;

    void lock();
    void unlock();  // by the thread that locked it

  private:
    std::mutex mutex;
};
