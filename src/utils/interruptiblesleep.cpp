#include "utils/interruptiblesleep.h"

#include <QThread>

#include <algorithm>

bool sleepUnlessInterrupted(std::chrono::milliseconds duration)
{
    using std::chrono::milliseconds;
    constexpr milliseconds STEP{100};
    while (!QThread::currentThread()->isInterruptionRequested()) {
        if (duration <= milliseconds::zero())
            return true;
        const milliseconds step = std::min(duration, STEP);
        QThread::msleep(static_cast<unsigned long>(step.count()));
        duration -= step;
    }
    return false;
}
