#pragma once

#include <QByteArray>

class OwedArchives;

/// What whoever repairs a station from afar needs of it, as one zip: "infos.log", the log's last
/// lines, what archives there are and what is owed, the room on the disk, what is on the bus, and
/// what the kernel says of USB and storage where it lets the station read that. No recording.
namespace stationreport {

/// The zip, made in memory: a full or broken disk is a reason to ask for it. Takes some MiB at
/// most, and some seconds for the tools that it asks; on the controller's thread.
QByteArray make(const OwedArchives& owed);

} // namespace stationreport
