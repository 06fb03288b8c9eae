#pragma once

#include "main/archiveanswer.h"
#include "main/countedsync.h"
#include "main/datafileclaim.h"

#include <QtGlobal>

/// One recording on its way from a pod to the archive, shared by the pod and by the controller's
/// queue of files to add. The claim is the worker thread's until Pod::dataReady, and from then on
/// the controller's, who ends it once the archive needs the file no more. A ticket that never
/// comes so far, as the pod has gone or the station quits, ends it with its last owner.
struct ArchiveTicket
{
    DataFileClaim file;
    /// The CRC-32 of the bytes that the pod's digest was taken of, as they came over the bus. Set
    /// by the worker before Pod::dataReady.
    quint32 data_crc32 = 0;
    ArchiveAnswer answer;
    CountedSync sync;
};
