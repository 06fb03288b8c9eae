#pragma once

/// Values of Pod::setSyncProgress and setUpdateProgress beside 0 to 100 percent.
namespace progress {

constexpr int kFinished = 101;
constexpr int kWrongDigest = -1; ///< three times; the recording is kept as it came
constexpr int kFailed = -2;

} // namespace progress

/// Values of Corvane::syncDone: what the panel shows.
enum SyncCode : int { CopyFailed = -2, Syncing = -1, Copied = 0, NoUsbKey = 1, WaitingForPods = 2 };
