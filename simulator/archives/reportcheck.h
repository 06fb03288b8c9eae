#pragma once

#include "archives/archivecheck.h"

#include <QMap>

/// What is wrong with a station's report, one line each. It holds exactly the files of `expected`,
/// each whole and with all its texts in it, and none is one of the recordings.
QStringList checkReport(const QString& path, const QMap<QString, QStringList>& expected,
                        const std::vector<KnownRecording>& recordings);
