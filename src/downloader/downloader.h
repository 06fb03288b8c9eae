#pragma once

#include <cstdint>

class Pod;

/// Reads a pod's recording into its data file and erases the pod. No state; runs on the pod's
/// worker thread, which it blocks: at most 10 s a transfer, 15 s after a wrong digest.
///
/// Failures are thrown as DownloadException; what was read so far then stays in the data file.
class Downloader
{
public:
    /// True when the pod's data file is ready, false when the pod was empty. A digest that was
    /// wrong three times is true as well, with progress -1: the last read-out is kept as it came.
    bool downloadPodData(Pod& pod);
    void erasePod(Pod& pod);

private:
    /// One read-out into the data file. False when its digest is wrong.
    bool readOut(Pod& pod, uint32_t size_bytes);
    void sendReadCommand(Pod& pod);
    uint32_t readSize(Pod& pod);
    void dropEmptyAnswer(Pod& pod, uint32_t size_bytes);
};

uint32_t uint32_big_decode(const uint8_t* bytes);
