#pragma once

#include "archives/archivecheck.h"

/// Everything in the archives on these sticks, whatever they are called, and in their backups. What
/// cannot be read holds nothing.
std::vector<ArchiveEntry> readSticks(const QStringList& folders);

/// Full paths of the archives in a stick's root.
QStringList archivesOnStick(const QString& folder);

/// A line for each recording that is not whole among the entries of the sticks.
QStringList undelivered(const std::vector<KnownRecording>& recordings,
                        const std::vector<ArchiveEntry>& on_sticks);
