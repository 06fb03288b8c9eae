#pragma once

#include "system/uniquefd.h"

#include <QString>

/// The device node of one USB device: a FIFO, because a host polls the node until it may reap and a
/// plain file is always ready. Whoever has it open sees it writable exactly while it is ready. Not
/// thread-safe; it belongs to its device. Ends the program when the node cannot be made.
class DeviceNode
{
public:
    explicit DeviceNode(const QString& path);
    Q_DISABLE_COPY_MOVE(DeviceNode)
    ~DeviceNode();

    void setReady(bool ready);
    /// Nobody can open it any more; those who have it open keep it.
    void remove();

private:
    QByteArray m_path;
    UniqueFd m_fifo;
    bool m_ready = true;
};
