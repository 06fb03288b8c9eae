#pragma once

#include <QByteArray>
#include <QString>

/// What the manifest of an update package names, as it stands there: file names inside the package,
/// empty where the manifest gives none. A value.
struct DfuManifest
{
    QString bin_file; ///< firmware image
    QString dat_file; ///< init packet

    /// Throws DfuInvalidUpdateFile for a manifest without an image that is known, and for names
    /// that would lead out of the package.
    static DfuManifest parse(const QByteArray& json);
};
