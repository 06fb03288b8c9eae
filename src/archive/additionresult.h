#pragma once

#include <QString>

/// How the addition of a file to an archive ended. Whatever did not end as Added left the archive
/// as it was, or left the record with which the next start puts it back. A value, reentrant.
struct AdditionResult
{
    enum Kind {
        Added,           ///< on the storage, read back from there, and nothing takes it back
        ArchiveFull,     ///< the next archive has room for it
        ArchiveUnusable, ///< it is gone, or is no archive any more
        FileChanged,     ///< the file does not hold the bytes that came from the pod
        NotReadBack,     ///< the storage holds something else than what was written
        Failed,          ///< the system's error tells why
    };

    Kind kind = Failed;
    int error = 0; ///< an errno value, 0 where the system had none

    /// With the system's last error.
    static AdditionResult of(Kind kind);

    bool added() const { return kind == Added; }
    /// Whether another archive may take what this one did not.
    bool isTheArchives() const;
    /// For the log.
    QString reason() const;
};
