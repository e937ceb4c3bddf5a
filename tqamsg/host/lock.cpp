#include "tqamsg/host/lock.h"

TQALock::TQALock() = default;

TQALock::~TQALock() = default;

void TQALock::lock() {
    mutex.lock();
}

void TQALock::unlock() {
    mutex.unlock();
}
