#pragma once

#include <QString>

/// Where the station keeps its files: those below its working directory, then itself and others.
namespace stationpaths {

inline const QString kArchives = QStringLiteral("datas");
inline const QString kWork = QStringLiteral("tmp"); ///< emptied at every start
inline const QString kInfos = QStringLiteral("tmp/infos.log");
inline const QString kFirmware = QStringLiteral("dfu"); ///< the unpacked update package
inline const QString kBackup = QStringLiteral("backup.zip");
inline const QString kLog = QStringLiteral("log"); ///< its last lines, over all starts
inline const QString kLogBefore = QStringLiteral("log.1");
inline const QString kOwed = QStringLiteral("owed"); ///< the archives that no stick has yet

inline const QString kStation = QStringLiteral("/opt/Corvane"); ///< the working directory
inline const QString kVersion = QStringLiteral("/opt/Corvane/version");
inline const QString kLauncher = QStringLiteral("/opt/CorvaneLauncher/");
inline const QString kLauncherVersion = QStringLiteral("/opt/CorvaneLauncher/version");
inline const QString kUsbKey = QStringLiteral("/media/usbkey");

} // namespace stationpaths
