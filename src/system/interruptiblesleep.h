#pragma once

#include <chrono>

/// Sleeps on the calling QThread, in steps of 100 ms, until the time is over or the thread is asked
/// to stop (QThread::requestInterruption). False when it was asked to stop.
bool sleepUnlessInterrupted(std::chrono::milliseconds duration);
