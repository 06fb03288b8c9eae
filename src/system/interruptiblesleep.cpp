#include "system/interruptiblesleep.h"

#include <QThread>

#include <algorithm>

bool sleepUnlessInterrupted(std::chrono::milliseconds duration)
{
    using std::chrono::milliseconds;
    constexpr milliseconds kStep{100};
    while (!QThread::currentThread()->isInterruptionRequested()) {
        if (duration <= milliseconds::zero())
            return true;
        const milliseconds step = std::min(duration, kStep);
        QThread::msleep(static_cast<unsigned long>(step.count()));
        duration -= step;
    }
    return false;
}
