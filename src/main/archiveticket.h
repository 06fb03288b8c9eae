#pragma once

#include "main/archiveanswer.h"
#include "main/datafileclaim.h"

/// One recording on its way from a pod to the archive, shared by the pod and by the controller's
/// queue of files to add. The claim is the worker thread's until Pod::dataReady, and from then on
/// the controller's, who ends it once the archive needs the file no more. A ticket that never
/// comes so far, as the pod has gone or the station quits, ends it with its last owner.
struct ArchiveTicket
{
    DataFileClaim file;
    ArchiveAnswer answer;
};
